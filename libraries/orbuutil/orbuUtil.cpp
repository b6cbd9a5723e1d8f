#include "orbuutil/orbuUtil.h"

#include "orbuutil/orbuUtilCustomEnv.h"
#include "orbuutil/orbuUtilPrivate.h"
#include "orbuutil/orbuVersion.h"
#include "orbuutil/platformLibraryPathPrivate.h"
#include "orbuutil/tpath.h"

#include <cstdlib>
#include <unistd.h>

namespace {

constexpr char framework_key[] = "ORBU_MAC_FRAMEWORK_LOCATION";
constexpr char default_framework_parent[] = "/Library/Frameworks";

constinit bool OrbuUtil_CustomInstallLocation = false;

// A kind of files: its key in the file, what its default is, and whether that holds whatever the file says
// under the key.
struct FileKind {
    const char* key;
    TStr (*default_folder)(const TStr& locale);
    bool follows_framework;
};

constexpr FileKind file_kinds[] = {
    {"ORBU_COMMON_BIN_LOCATION", [](const TStr&) { return OrbuUtil::getOrbuCommonBinLocation(); }, false},
    {"ORBU_COMMON_LIB_LOCATION", [](const TStr&) { return OrbuUtil::getOrbuCommonLibLocation(); }, true},
    {"ORBU_COMMON_LOCALIZED_DATA_LOCATION", OrbuUtil::getOrbuLocalizedDataLocation, true},
    {"ORBU_COMMON_DATA_LOCATION", [](const TStr&) { return OrbuUtil::getOrbuCommonDataLocation(); }, true},
    {"ORBU_LOG_FILE_LOCATION", [](const TStr&) { return OrbuUtil::getOrbuLogFileLocation(); }, false},
    {"ORBU_ERROR_TABLE_LOCATION", [](const TStr&) { return OrbuUtil::getOrbuErrorTableLocation(); }, true},
    {"ORBU_USER_SETTINGS_FILE_LOCATION", [](const TStr&) { return OrbuUtil::getOrbuLocalUserDataLocation(); },
     false},
};

constexpr const char* api_file_keys[] = {
    "ORBU_APPLICATION_ORBU_RESOURCE_LOCATION",
    "ORBU_APPLICATION_ERROR_LOG_FILE",
};

const FileKind* kind_of(OrbuUtil::OrbuFileType type) {
    return type >= OrbuUtil::CommonBin && type <= OrbuUtil::UserSettings ? &file_kinds[type] : nullptr;
}

TStr text_of(const std::string& bytes) { return TStr(bytes.c_str()); }

void add_once(std::string& path, char separator) {
    if (path.empty() || path.back() != separator) {
        path += separator;
    }
}

void drop_slash(std::string& path) {
    if (!path.empty() && path.back() == '/') {
        path.pop_back();
    }
}

char separator_of(const std::string& path) { return path.find('/') != path.npos ? '/' : '\\'; }

// A folder below `parent` for this version of the library.
TStr version_folder(const char* parent) {
    const std::string version = private_bytes(OrbuUtil::getFolderVersionName());
    return text_of(std::string(parent) + "/" + (version.empty() ? "" : version + "/"));
}

TStr framework_folder(const char* name, const TStr& locale) {
    std::string folder = private_bytes(OrbuUtil::getOrbuFrameworkLocation());
    if (folder.empty()) {
        return TStr("");
    }
    folder += std::string(name) + "/";
    if (!locale.isEmpty()) {
        folder += private_bytes(OrbuUtil::getOrbuInternalLocale(locale, true)) + "/";
    }
    return text_of(folder);
}

// Whether `folder` is in a list of folders parted by ":". A part that merely begins with it is none.
bool in_search_path(const std::string& list, const std::string& folder) {
    for (size_t at = list.find(folder); at != list.npos; at = list.find(folder, at)) {
        at += folder.size();
        if (at == list.size() || list[at] == ':' || list.compare(at, 2, "/:") == 0) {
            return true;
        }
    }
    return false;
}

} // namespace

// --- folders ---

TStr OrbuUtil::getOrbuFileLocation(OrbuFileType type, const TStr& locale) {
    const FileKind* const kind = kind_of(type);
    const bool in_force = hasCustomSettings();
    if (kind == nullptr) {
        return TStr("");
    }
    if (!in_force) {
        return kind->default_folder(locale);
    }
    // Read for all kinds: the line about an unknown variable comes in any case.
    std::string value = private_bytes(gCustomEnvMgr.getStringValue(kind->key));
    if (kind->follows_framework) {
        return kind->default_folder(locale);
    }
    if (!value.empty()) {
        add_once(value, separator_of(value));
    }
    return text_of(value);
}

TStr OrbuUtil::getOrbuCustEnvFileTypeKey(OrbuFileType type) {
    const FileKind* const kind = kind_of(type);
    return TStr(kind != nullptr ? kind->key : "");
}

TStr OrbuUtil::getOrbuAPIFileLocationOverride(OrbuAPIFileType type, const TStr&) {
    const TStr key = getOrbuCustEnvAPIFileTypeKey(type);
    return !key.isEmpty() && hasCustomSettings() ? gCustomEnvMgr.getStringValue(key) : TStr("");
}

TStr OrbuUtil::getOrbuCustEnvAPIFileTypeKey(OrbuAPIFileType type) {
    return TStr(type >= ApplicationResource && type <= ApplicationErrorLog ? api_file_keys[type] : "");
}

TStr OrbuUtil::getOrbuCommonBinLocation() { return version_folder("/Applications/Vexmoor/Orbu"); }

TStr OrbuUtil::getOrbuCommonLibLocation() { return framework_folder("Libraries", TStr::null); }

TStr OrbuUtil::getOrbuLocalizedDataLocation(const TStr& locale) {
    return framework_folder("Resources", locale);
}

TStr OrbuUtil::getOrbuCommonDataLocation() { return framework_folder("Resources", TStr::null); }

TStr OrbuUtil::getOrbuLogFileLocation() { return version_folder("/var/log/Vexmoor/Orbu"); }

TStr OrbuUtil::getOrbuErrorTableLocation() { return framework_folder("Resources", TStr::null); }

TStr OrbuUtil::getOrbuLocalUserDataLocation() {
    const char* const home = std::getenv("HOME");
    if (home == nullptr) {
        return TStr("");
    }
    std::string folder = home;
    drop_slash(folder);
    return text_of(folder + "/Orbu/");
}

TStr OrbuUtil::getOrbuFrameworkLocation() {
    std::string folder = default_framework_parent;
    if (hasCustomSettings()) {
        folder = private_bytes(gCustomEnvMgr.getStringValue(framework_key));
        if (folder.empty()) {
            return TStr("");
        }
    }
    add_once(folder, '/');
    folder += "Orbu.framework/Versions/";
    const std::string version = orbuUtilFrameworkVersionString();
    return text_of(folder + (version.empty() ? "" : version + "/"));
}

TStr OrbuUtil::getFolderVersionName() {
    const std::string version = orbuUtilVersionString();
    return text_of(version.empty() ? "" : "R" + version.substr(0, version.find('.')));
}

TStr OrbuUtil::addOrbuLocaleFolder(const TStr& path, const TStr& locale) {
    if (path.isEmpty() || locale.isEmpty()) {
        return path;
    }
    const std::string name = private_bytes(getOrbuInternalLocale(locale, true));
    if (name.empty()) {
        return path;
    }
    std::string folder = private_bytes(path);
    const char separator = separator_of(folder);
    add_once(folder, separator);
    return text_of(folder + name + separator);
}

TStr OrbuUtil::getTempFolder() {
    for (const char* const name : {"TMPDIR", "TMP", "TEMP", "TEMPDIR"}) {
        const char* const path = std::getenv(name);
        if (path != nullptr && ::access(path, F_OK) == 0) {
            return text_of(std::string(path) + "/");
        }
    }
    return TStr("/tmp/");
}

// --- custom environment ---

int OrbuUtil::loadCustomEnvSettings() {
    const int status =
        gCustomEnvMgr.isLoadPending() ? gCustomEnvMgr.loadConfigFile() : gCustomEnvMgr.loadStatus();
    return status >= COrbuUtilCustomEnv::Loaded && status <= COrbuUtilCustomEnv::CustomFileUnusable
               ? status
               : COrbuUtilCustomEnv::NotConfigured;
}

bool OrbuUtil::hasCustomSettings() {
    if (gCustomEnvMgr.isLoadPending()) {
        gCustomEnvMgr.loadConfigFile();
    }
    return gCustomEnvMgr.isLoaded();
}

bool OrbuUtil::isThinClient() { return gCustomEnvMgr.isThinClient(); }

void OrbuUtil::setCustomEnvPathVars() {
    const std::string bin = private_bytes(getOrbuFileLocation(CommonBin, TStr::null));
    std::string lib = private_bytes(getOrbuFileLocation(CommonLib, TStr::null));
    if (bin.empty() || lib.empty()) {
        return;
    }
    drop_slash(lib);
    std::string framework = private_bytes(gCustomEnvMgr.getStringValue(framework_key));
    if (framework.empty()) {
        return;
    }
    drop_slash(framework);
    if (framework == default_framework_parent) {
        return;
    }
    const char* const before = std::getenv(private_platform_library_path_variable);
    std::string path = before != nullptr ? before : "";
    std::string searched = path;
    drop_slash(searched);
    if (in_search_path(searched, lib)) {
        return;
    }
    if (!path.empty() && path.back() != ':') {
        path += ':';
    }
    ::setenv(private_platform_library_path_variable, (path + lib).c_str(), 1);
}

// --- the host's install location ---

void OrbuUtil::setCustomInstallLocation(bool custom) { OrbuUtil_CustomInstallLocation = custom; }

bool OrbuUtil::isCustomInstallLocation() { return OrbuUtil_CustomInstallLocation; }

void OrbuUtil::setCustomInstallLocationPath(const TStr& path) {
    OrbuUtil_CustomInstallLocationPath = path;
    OrbuUtil_CustomInstallLocation = !path.isEmpty();
}

TStr OrbuUtil::getCustomInstallLocationPath() { return OrbuUtil_CustomInstallLocationPath; }

bool OrbuUtil::checkCustomInstallLocationPath(const TStr& path) { return TPath(path).exists(); }

// --- for callers written for all platforms ---

TStr OrbuUtil::getOrbuWinCommonFilesFolder() { return TStr(""); }

TStr OrbuUtil::getOrbuWinAllUsersProfileFolder() { return TStr(""); }

TStr OrbuUtil::getOrbuWinLocalUserDataFolder() { return TStr(""); }
