#include "resourceFolders.h"

#include <filesystem>

#include "orbuutil/orbuUtil.h"

std::vector<std::string> resourceFolders() {
    std::vector<std::string> folders;
    TStr const inForce = OrbuUtil::getOrbuFileLocation(OrbuUtil::CommonLocalizedData, TStr());
    if (!inForce.isEmpty()) {
        folders.emplace_back(inForce.toUtf8());
    }
    std::error_code error;
    auto const program = std::filesystem::read_symlink("/proc/self/exe", error);
    if (!error) {
        folders.push_back((program.parent_path() / ORBU_RESOURCES_FROM_PROGRAM).lexically_normal());
    }
    return folders;
}
