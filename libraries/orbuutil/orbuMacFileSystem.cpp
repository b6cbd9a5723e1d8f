#include "orbuutil/orbuMacFileSystem.h"

#include "orbuutil/platformBundlePrivate.h"

#include <algorithm>
#include <dirent.h>
#include <memory>
#include <sys/stat.h>
#include <vector>

namespace {

struct CloseFolder {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

// The entries of a folder, the last by name first; what cannot be read has none.
std::vector<std::string> entries_backward(std::string const& folder) {
    std::vector<std::string> entries;
    std::unique_ptr<DIR, CloseFolder> const open(::opendir(folder.c_str()));
    while (dirent const* const entry = open ? ::readdir(open.get()) : nullptr) {
        std::string const name = entry->d_name;
        if (name != "." && name != "..") {
            entries.push_back(name);
        }
    }
    std::sort(entries.rbegin(), entries.rend());
    return entries;
}

// Walks the tree below `root`: each folder's entries by name, and what a folder holds in its place.
std::string find_below(std::string const& root, std::string const& name) {
    std::vector<std::string> pending = {root};
    while (!pending.empty()) {
        std::string at = std::move(pending.back());
        pending.pop_back();
        struct stat found = {};
        if (::lstat(at.c_str(), &found) != 0) {
            continue;
        }
        if (S_ISDIR(found.st_mode)) {
            std::vector<std::string> const entries = entries_backward(at);
            if (at.back() != '/') {
                at += '/';
            }
            for (std::string const& entry : entries) {
                pending.push_back(at + entry);
            }
        } else if (at.compare(at.rfind('/') + 1, at.npos, name) == 0) {
            return at;
        }
    }
    return "";
}

} // namespace

std::string OrbuMacFileSystem::searchDylibInsideBundle(const char* name) {
    if (name == nullptr) {
        return "";
    }
    std::string const root = private_platform_bundle_path();
    return root.empty() ? "" : find_below(root, name);
}
