// OrbuSettings: sections of keys with text values in an XML file that the processes of one user share.
//
// - One object per use: construct, open, read or change, save, destroy. Changes are kept aside until save,
//   which reads the file anew and writes only them on top of it. One object belongs to one thread.
// - A section name, "/" and the key make the composite key, without escaping. A "/" inside a name or a key is
//   not noticed until save, which cuts at the last two: "b/c" in section "a" lands in section "b" as "c".
// - Empty names, keys and values are programmer errors and stop the process (see c_assert.h), as do a save
//   without a reading, and a key that ends in "/" or begins with it once it is saved or listed.
// - Results are bool and nothing is logged. save gives false for a success too; whoever wants to know reads
//   the file back.
//
// Between processes. A named mutex (formatMutexName) orders readers and writers; both wait for it without a
// limit. It is freed by each close (see orbuMutex.h), so that two may be inside; a flock(2) on the file, held
// while it is read or written, keeps what is in it whole even then. A writer reads the file anew before it
// takes the mutex, so what another writes in between is overwritten, in the keys that it did not change too.
//
// Killed. Between any two system calls of a save, death leaves the former text or the new one, and the next
// reader gets that: the new text is written by one call, with a zero byte behind it, and the file is cut to
// its length afterwards. Two cases are left. Killed inside that one call, or by a loss of power, a save can
// leave a text that is torn; killed between making a new file and writing it, an empty file. Both fail open,
// until the file is removed. A process killed with the mutex in its hands leaves it taken: all that come
// wait for good, until some process closes a mutex of that name, which frees whoever comes after that.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tpath.h"
#include "orbuutil/tstr.h"

#include <map>
#include <memory>
#include <string>

namespace tinyxml2 {
class XMLDocument;
class XMLElement;
} // namespace tinyxml2

class ORBU_EXPORT OrbuSettings {
public:
    static const char kXmlTagSettings[];    // the root element
    static const char kXmlTagSection[];     // its children
    static const char kXmlTagSectionName[]; // their attribute
    static const char kXmlTagData[];        // their children, with the value as text
    static const char kXmlTagDataKey[];     // and the key as attribute
    static const char kSlash[];             // between section and key

    // `sharedAmongUsers` asks save to open file and folder to everybody.
    explicit OrbuSettings(bool sharedAmongUsers);
    // Saves nothing.
    ~OrbuSettings();
    OrbuSettings(OrbuSettings const&) = delete;
    OrbuSettings& operator=(OrbuSettings const&) = delete;

    // Reads the file, under the mutex. With `keepPending` the changes that are not saved, and the path of the
    // last open without it, stay. A file that is not there is an empty store. False for one that cannot be
    // read, is no XML, has no root element "OrbuSettings", or has one with children and not one value in
    // them; it is left as it is, and the object is then not loaded. False also for a missing file when
    // there is no path from an earlier open to keep; the store is loaded then.
    bool open(TPath const& pathname, bool keepPending);

    // The same from text. Without a path, which only `keepPending` can leave, save reads no file anew.
    bool parse(TStr const& xmlStr, bool keepPending);

    // Reads the file that was opened anew, applies the changes, and writes all to `outFile`, whose folder it
    // makes (0770) if need be. The changes stay, and are applied again by the next save. False when reading
    // failed (then the object is not loaded, and open comes before another save), when nothing is left in the
    // store (which cannot be written: the file keeps what it has), when it could not be written (on a full
    // disk it keeps what it has, and a new file stays empty), and, since 0 from tinyxml2 is taken as a truth
    // value, when all went well. Permissions are set (0666 and 0777) only for another value than 0. Hosts
    // depend on these results.
    bool save(TPath const& outFile);

    // Drops what was read, and without `keepPending` the changes and the path too. True.
    bool refresh(bool keepPending);

    // The value of a change not yet saved, or what was read; false, and `value` cleared, when there is none.
    // A key that was removed reads as before until it is saved: hosts depend on it.
    bool getData(TStr const& name, TStr const& key, TStr& value);

    // Keeps the change for save. True. To take a key away use removeData: a value is never empty, and one of
    // nothing but white space reads back as none.
    bool setData(TStr const& name, TStr const& key, TStr const& value);

    // Keeps the removal for save; false for a key that is not there.
    bool removeData(TStr const& name, TStr const& key);

    // The keys and values of a section, with all changes seen. True. The search is for "name/" anywhere in a
    // composite key, so a section "xab" answers for "ab" as well: hosts depend on it.
    bool getSection(TStr const& name, std::map<TStr, TStr>& out);

    // Keeps the removal of all that getSection finds. True.
    bool removeSection(TStr const& name);

    // Calls `visit` for each value as it stands in what was read, in the order of the file, with the names
    // taken exactly; of two that are equal the first. Changes are not seen.
    typedef void (*Visit)(TStr const& section, TStr const& key, TStr const& value, void* context);
    void visitData(Visit visit, void* context) const;

    // Why the last open, parse or save did not do its work, in a few words, and the line of the text where it
    // was noticed; empty and 0 when it did, or when no line is to blame. After save this tells what the
    // result cannot.
    TStr errorText() const { return mErrorText; }
    int errorLine() const { return mErrorLine; }

    // "/", the user's id and the base name of the path; empty when that is empty. Two files of one user with
    // the same base name share a mutex.
    static TStr formatMutexName(TStr const& file);

private:
    void setupEmptyXmlDoc();
    bool readElements();
    bool fail(TStr const& text, int line);
    bool failParsing();
    bool load(TPath const& pathname, bool keepPending);
    bool commit();
    bool write(TPath const& outFile);
    bool setXmlData(TStr const& name, TStr const& key, TStr const& value);
    void removeXmlData(TStr const& name, TStr const& key);
    tinyxml2::XMLElement* findXmlSection(TStr const& name);
    tinyxml2::XMLElement* findXmlData(tinyxml2::XMLElement* pXmlSection, TStr const& key);

    bool sharedAmongUsers;
    bool _bIsLoaded; // `document` holds a usable reading
    TPath path;      // the file that was opened
    std::unique_ptr<tinyxml2::XMLDocument> document;
    tinyxml2::XMLElement* _pXmlRoot; // in `document`; null until read
    std::map<TStr, TStr> values;     // by composite key, as read
    std::map<TStr, TStr> pendingSet;
    std::map<TStr, TStr> pendingRemove; // with the values that they had
    // Elements of `document`; what is deleted there goes here first.
    std::map<TStr, tinyxml2::XMLElement*> sectionCache;
    std::map<TStr, tinyxml2::XMLElement*> dataCache;
    bool mIsAsRead;    // `document` is what `mText` gave, unchanged
    std::string mText; // of the file
    TStr mErrorText;
    int mErrorLine;
};
