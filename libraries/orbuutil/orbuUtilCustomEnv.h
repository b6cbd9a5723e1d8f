// The custom environment: an XML file, named by an environment variable, that moves the library's locations.
//
//   <ORBUCUSTOMENV>
//     <PLATFORM OS="Mac">                     any number; those with another OS, or none, are passed over
//       <KEY ID="ORBU_LOG_FILE_LOCATION">     any number
//         <STRING>$HOME/logs</STRING>         the first one is the value
//
// - VEXMOOR_ORBU_THINCLIENT_ENV names the file; only when it is not set, VEXMOOR_ORBU_CUSTOM_ENV does.
// - Hosts ask OrbuUtil (orbuUtil.h); it loads on first use. There is no automatic reload.
// - The one object is gCustomEnvMgr, made when the library is loaded. It is gone when the exit hooks of the
//   object manager run: what runs from a hook must not use it, nor OrbuUtil's locations.
// - The platform is "Mac" on every system: the files in the field name it.
// - Bad input: a file that cannot be read or parsed gives a load result and no values. Nothing throws.
// - Threads: nothing is locked. The first use belongs into the host's single-threaded start.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

#include <memory>

namespace tinyxml2 {
class XMLDocument;
}

class ORBU_EXPORT COrbuUtilCustomEnv {
public:
    // What a load comes to.
    enum LoadResult {
        Loaded = 0,
        NotConfigured = 1,      // neither variable is set
        ThinClientUnusable = 2, // its file cannot be opened or parsed; the other one is not tried
        CustomFileUnusable = 3,
    };

    COrbuUtilCustomEnv();
    virtual ~COrbuUtilCustomEnv();
    COrbuUtilCustomEnv(const COrbuUtilCustomEnv&) = delete;
    COrbuUtilCustomEnv& operator=(const COrbuUtilCustomEnv&) = delete;

    // Reads the variables and the file, anew if it was done before, and gives a LoadResult. A FIFO or a
    // device that nobody writes to is not waited for: it counts as a file that cannot be read.
    int loadConfigFile();

    // The value of `key`, with "$NAME" replaced by the environment's text; empty when there is none. Of
    // several elements with this key in elements of this platform, the first in each counts and the last of
    // these wins.
    //
    // - A call that itself brings about the first load gives an empty value if that load succeeds, and the
    //   next one the real value. Hosts depend on it; OrbuUtil loads before it asks.
    // - "$NAME" reaches up to the next "/" or the end. It is the first occurrence of the same characters in
    //   the value that is replaced, wherever that is. An unknown name prints "Environment variable NAME could
    //   not be found" and a line feed on standard output, and stays. A "$" that ends the value ends it.
    // - A variable that names itself would never come to an end: once 16 MiB have been gone through, the
    //   value's length for each name, the rest stays as it is.
    TStr getStringValue(const TStr& key);

    // The position in characters of the first `what` at or behind character `start`, or -1. A negative start
    // counts as 0; an empty `what` is never found.
    int findString(const TStr& text, const TStr& what, int start) const;

    bool isLoadPending() const { return load_pending != 0; } // no load has been tried
    bool isLoaded() const { return loaded != 0; }            // the file's values are in force
    bool isThinClient() const { return thin_client != 0; }   // they come from the thin client's file
    int loadStatus() const { return load_status; }           // of the last load; -1 before the first

private:
    int failed(int result);

    TStr platform;
    std::unique_ptr<tinyxml2::XMLDocument> document;
    unsigned char loaded;
    unsigned char load_pending;
    unsigned char thin_client;
    int load_status;
};

ORBU_EXPORT extern COrbuUtilCustomEnv gCustomEnvMgr;
