#include "runtime.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <pwd.h>
#include <string>
#include <unistd.h>

namespace {

bool own_in_force = false;
bool own_home = false;
std::optional<std::string> runtime_before; // ORBU_RUNTIME

} // namespace

std::string beside_program(char const* path) {
    std::error_code error;
    auto const program = std::filesystem::read_symlink("/proc/self/exe", error);
    return (program.parent_path() / path).lexically_normal();
}

void use_own_runtime() {
    if (std::getenv("HOME") == nullptr) {
        passwd const* const user = ::getpwuid(::getuid());
        ::setenv("HOME", user != nullptr ? user->pw_dir : "/", 1);
        own_home = true;
    }
    std::string const runtime = beside_program(ORBU_RUNTIME_FROM_PROGRAM);
    std::string const file = runtime + "/OrbuCustomEnv.xml";
    if (runtime.starts_with('/') && std::getenv("VEXMOOR_ORBU_THINCLIENT_ENV") == nullptr &&
        std::getenv("VEXMOOR_ORBU_CUSTOM_ENV") == nullptr && ::access(file.c_str(), R_OK) == 0) {
        if (char const* const before = std::getenv("ORBU_RUNTIME")) {
            runtime_before = before;
        }
        ::setenv("ORBU_RUNTIME", runtime.c_str(), 1);
        ::setenv("VEXMOOR_ORBU_CUSTOM_ENV", file.c_str(), 1);
        own_in_force = true;
    }
}

bool uses_own_runtime() { return own_in_force; }

void restore_environment() {
    if (own_in_force) {
        ::unsetenv("VEXMOOR_ORBU_CUSTOM_ENV");
        ::unsetenv("ORBU_RUNTIME");
    }
    if (runtime_before) {
        ::setenv("ORBU_RUNTIME", runtime_before->c_str(), 1);
    }
    if (own_home) {
        ::unsetenv("HOME");
    }
}
