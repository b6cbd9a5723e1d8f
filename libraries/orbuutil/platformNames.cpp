#include "orbuutil/platformNamesPrivate.h"

#include "orbuutil/ownersPrivate.h"

#include <fcntl.h>
#include <sys/utsname.h>
#include <unistd.h>

namespace {

// The first part of a small file; more than this no os-release has.
std::string headOf(char const* path) {
    std::string text(16384, '\0');
    size_t got = 0;
    UniqueFd const fd(::open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    while (fd && got < text.size()) {
        ssize_t const count = ::read(fd.get(), text.data() + got, text.size() - got);
        if (count <= 0) {
            break;
        }
        got += static_cast<size_t>(count);
    }
    text.resize(got);
    return text;
}

bool isControl(char byte) { return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7f; }

// A value as a shell reads it: bare, or in quotes of either kind.
std::string unquoted(std::string_view value) {
    char const quote = !value.empty() && (value[0] == '"' || value[0] == '\'') ? value[0] : '\0';
    std::string text;
    for (size_t at = quote != '\0' ? 1 : 0; at < value.size() && (quote == '\0' || value[at] != quote);
         ++at) {
        if (value[at] == '\\' && quote != '\'' && at + 1 < value.size()) {
            ++at;
        }
        if (!isControl(value[at])) {
            text += value[at];
        }
    }
    return text;
}

} // namespace

std::string private_pretty_name(std::string_view osRelease) {
    constexpr std::string_view key = "PRETTY_NAME=";
    std::string name;
    while (!osRelease.empty()) {
        std::string_view const line = osRelease.substr(0, osRelease.find('\n'));
        osRelease.remove_prefix(line.size() < osRelease.size() ? line.size() + 1 : line.size());
        if (line.substr(0, key.size()) == key) {
            name = unquoted(line.substr(key.size()));
        }
    }
    return name;
}

TStr private_platform_os_name() {
    for (char const* const path : {"/etc/os-release", "/usr/lib/os-release"}) {
        std::string const name = private_pretty_name(headOf(path));
        if (!name.empty()) {
            return name.c_str();
        }
    }
    utsname system{};
    if (::uname(&system) != 0) {
        return "";
    }
    return (std::string(system.sysname) + " " + system.release + " " + system.machine).c_str();
}

TStr private_platform_host_name() {
    char name[256] = {}; // the last byte stays a terminator, whatever is cut
    return ::gethostname(name, sizeof name - 1) == 0 ? name : "";
}
