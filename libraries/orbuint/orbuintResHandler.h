// COrbuIntResHandler: the texts of the library's own dialogs, from one file in a folder that the host names.
//
// The file is "OrbuIntRes.xml", in UTF-8; nothing else in it is read:
//
//   <ORBUSTRINGTABLE>
//     <STRING ID="ok"><CAPTION>OK</CAPTION></STRING>     any number
//   </ORBUSTRINGTABLE>
//
// - One for the process, made on first use and destroyed by the object manager (orbuSingleton.h).
// - There is no fall-back to another file or locale: what is not found is the empty string, and callers use
//   that as it is. Nothing is reported; a host that wants an error record makes it from a false result.
// - Bad input: whatever is in the file, it loads or it does not.
// - Threads: no locks. It belongs to the thread that calls the host's dialogs.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/orbuSingleton.h"
#include "orbuutil/tstr.h"

#include <memory>

namespace tinyxml2 {
class XMLDocument;
}

class ORBU_EXPORT COrbuIntResHandler {
public:
    virtual ~COrbuIntResHandler();
    COrbuIntResHandler(COrbuIntResHandler const&) = delete;
    COrbuIntResHandler& operator=(COrbuIntResHandler const&) = delete;

    static COrbuIntResHandler* instance();

    // Reads the file of this folder: true when it is loaded. Once one is, that one stays for the life of the
    // handler, and every later call is true whatever folder it names. After a failure a call tries again.
    bool loadResourceFile(TStr const& folder);

    // The CAPTION of the first STRING with this ID that has one; empty when there is none, or no text in it.
    // An element without an ID answers to the empty string. Every call walks the document from its start.
    TStr getString(TStr const& id) const;

private:
    friend class COrbuUtilSingleton<COrbuIntResHandler>;

    COrbuIntResHandler();

    TStr resourceFileName; // empty throughout
    std::unique_ptr<tinyxml2::XMLDocument> document;
    bool loaded;
};

// Held by the library itself.
extern template class ORBU_EXPORT COrbuUtilSingleton<COrbuIntResHandler>;
