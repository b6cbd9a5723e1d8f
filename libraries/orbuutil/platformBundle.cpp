#include "orbuutil/platformBundlePrivate.h"

#include <climits>
#include <unistd.h>

std::string private_platform_bundle_path() {
    char program[PATH_MAX];
    ssize_t const length = ::readlink("/proc/self/exe", program, sizeof program);
    if (length <= 0 || length == sizeof program) {
        return "";
    }
    std::string folder(program, static_cast<size_t>(length));
    folder.resize(folder.rfind('/') + 1);
    // Innermost first, so that a bundle inside another is its own.
    for (size_t end = folder.size() - 1; end != folder.npos && end > 0; end = folder.rfind('/', end - 1)) {
        if (end > 4 && folder.compare(end - 4, 4, ".app") == 0) {
            folder.resize(end);
            return folder;
        }
    }
    if (folder.size() > 1) {
        folder.pop_back();
    }
    return folder;
}
