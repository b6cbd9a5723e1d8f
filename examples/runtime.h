// Where an example finds the runtime: beside the library that it runs with, in a build tree as in an install,
// unless the environment names another. A host that is shipped does the same with the folder that its
// installer made.
#pragma once

#include "orbuutil/orbuVersion.h"

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>

// To be called before the first use of the library's locations, which reads the two variables once.
inline void useRuntimeOfLibrary() {
    Dl_info library = {};
    if (std::getenv("VEXMOOR_ORBU_CUSTOM_ENV") != nullptr ||
        std::getenv("VEXMOOR_ORBU_THINCLIENT_ENV") != nullptr ||
        ::dladdr(orbuUtilVersionString(), &library) == 0) {
        return;
    }
    std::filesystem::path const folder = std::filesystem::canonical(library.dli_fname).parent_path();
    ::setenv("ORBU_RUNTIME", (folder / "orbu").c_str(), 1);
    ::setenv("VEXMOOR_ORBU_CUSTOM_ENV", (folder / "orbu/OrbuCustomEnv.xml").c_str(), 1);
}
