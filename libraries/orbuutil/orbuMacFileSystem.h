// OrbuMacFileSystem: finds a file that came with the running program.
#pragma once

#include "orbuutil/orbuExport.h"

#include <string>

class ORBU_EXPORT OrbuMacFileSystem {
public:
    // The full path of a file called `name` below the bundle that the program stands in, or, without one,
    // below the program's folder; empty when there is none, and for null.
    //
    // Folders are gone through in the order of their entries' names, byte by byte, each folder's contents in
    // its entry's place: the first match wins. A folder of that name is none; a symbolic link counts as a
    // file and is not followed. What cannot be read is passed over. Reads the whole tree: ask once.
    static std::string searchDylibInsideBundle(const char* name);
};
