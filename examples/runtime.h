// Where an example finds the runtime: in the build tree that it was built in, unless the environment names
// another. A host that is shipped does the same with the folder that its installer made.
#pragma once

#include <cstdlib>
#include <filesystem>

// To be called before the first use of the library, which reads the two variables once.
inline void useRuntimeOfBuild() {
    if (std::getenv("VEXMOOR_ORBU_CUSTOM_ENV") != nullptr ||
        std::getenv("VEXMOOR_ORBU_THINCLIENT_ENV") != nullptr) {
        return;
    }
    std::filesystem::path const program = std::filesystem::read_symlink("/proc/self/exe");
    std::filesystem::path const runtime = program.parent_path().parent_path() / "lib/orbu";
    ::setenv("ORBU_RUNTIME", runtime.c_str(), 1);
    ::setenv("VEXMOOR_ORBU_CUSTOM_ENV", (runtime / "OrbuCustomEnv.xml").c_str(), 1);
}
