// OrbuErrorTable: the words for error numbers, read from an XML file.
//
//   <ERRORTABLES>
//     <TABLE VENDORID="7"><NAME>Runtime</NAME>
//       <ERROR CODE="12"><DESCRIPTION>Disk full</DESCRIPTION></ERROR> ...
//
// - Answers are empty strings for whatever is not there, and for everything while nothing is loaded.
// - Tables and errors are looked through in the order of the file. One without its number ends the search,
//   so it hides all that stand behind it: hosts depend on it. One whose number cannot be read just does not
//   match.
// - Nothing is logged, nothing throws, and a table is never loaded again by itself.
// - Threads: an object belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

#include <memory>

namespace tinyxml2 {
class XMLDocument;
class XMLElement;
class XMLNode;
} // namespace tinyxml2

class ORBU_EXPORT OrbuErrorTable {
public:
    explicit OrbuErrorTable(TStr const& pathName);
    ~OrbuErrorTable();
    OrbuErrorTable(OrbuErrorTable const&) = delete;
    OrbuErrorTable& operator=(OrbuErrorTable const&) = delete;

    // For the next Load; what is loaded stays in force until then.
    void SetPathName(TStr const& path);

    // Reads and parses the file. False for an empty path, a file that cannot be read, and one that is no XML;
    // nothing is loaded then.
    bool Load();

    // The text of NAME of the vendor's first table that has one.
    TStr GetVendorName(int vendor) const;

    // The words of a status in the vendor's first table: a second table of one vendor is never looked at.
    TStr GetErrorDescription(int vendor, int status) const;

    // The same in the given TABLE element: the first ERROR of that number, with or without words. A null
    // `table` has none.
    TStr GetVendorErrorDescription(tinyxml2::XMLNode const* table, int status) const;

    // Calls `visit` for each ERROR of the vendor's first table whose number can be read, in the order of the
    // file. Gives how many there were.
    long ForEachError(int vendor, void (*visit)(int status, TStr const& description, void* context),
                      void* context) const;

private:
    tinyxml2::XMLElement const* firstTable(int vendor, char const* holding) const;

    TStr pathName;
    bool loaded = false;
    std::unique_ptr<tinyxml2::XMLDocument> document; // made by the first Load
};
