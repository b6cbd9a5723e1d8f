#include "survey.h"

#include "attributes.h"
#include "exitCodes.h"
#include "orbuutil/orbuUtil.h"
#include "orbuutil/orbuUtilCustomEnv.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string_view>
#include <unistd.h>

namespace {

constexpr char kFrameworkKey[] = "ORBU_MAC_FRAMEWORK_LOCATION";

// What the library prints on the standard output of C while this lives: nothing of it is data of ours.
class PrintedText {
public:
    PrintedText() : stream_(::open_memstream(&text_, &size_)), kept_(stdout) {
        if (stream_ == nullptr) {
            throw Failure(ExitFailed, "no memory to listen to the library");
        }
        stdout = stream_;
    }
    PrintedText(PrintedText const&) = delete;
    PrintedText& operator=(PrintedText const&) = delete;
    ~PrintedText() {
        stdout = kept_;
        std::fclose(stream_);
        std::free(text_);
    }

    // Valid until more is printed.
    std::string_view text() {
        std::fflush(stream_);
        return {text_, size_};
    }

private:
    char* text_ = nullptr;
    size_t size_ = 0;
    std::FILE* stream_;
    std::FILE* kept_;
};

// The names in the library's lines about unknown variables.
void add_unknown(std::string_view printed, std::vector<std::string>& to) {
    constexpr std::string_view kBefore = "Environment variable ";
    constexpr std::string_view kBehind = " could not be found\n";
    for (size_t end = 0; printed.starts_with(kBefore) && (end = printed.find(kBehind)) != printed.npos;) {
        auto const name = printed.substr(kBefore.size(), end - kBefore.size());
        if (std::find(to.begin(), to.end(), name) == to.end()) {
            to.emplace_back(name);
        }
        printed.remove_prefix(end + kBehind.size());
    }
}

// A location whose value is the file's, under `key`, when one is in force.
Location located(char const* name, TStr const& value, TStr const& key) {
    Location location(name, bytes_of(value));
    if (OrbuUtil::hasCustomSettings()) {
        location.source = location.value.empty()     ? Location::None
                          : OrbuUtil::isThinClient() ? Location::ThinClient
                                                     : Location::File;
        location.key = bytes_of(key);
    }
    return location;
}

Location in_framework(char const* name, OrbuUtil::OrbuFileType type, std::string const& locale = {}) {
    return located(name, OrbuUtil::getOrbuFileLocation(type, locale.c_str()), kFrameworkKey);
}

Location by_own_key(char const* name, OrbuUtil::OrbuFileType type) {
    return located(name, OrbuUtil::getOrbuFileLocation(type, TStr::null),
                   OrbuUtil::getOrbuCustEnvFileTypeKey(type));
}

Location user_settings() {
    Location location = by_own_key(kUserSettings, OrbuUtil::UserSettings);
    if (location.source == Location::Default) {
        location.variable = "HOME";
    }
    return location;
}

Location application(char const* name, OrbuUtil::OrbuAPIFileType type) {
    Location location = located(name, OrbuUtil::getOrbuAPIFileLocationOverride(type, TStr::null),
                                OrbuUtil::getOrbuCustEnvAPIFileTypeKey(type));
    if (location.source == Location::Default) {
        location.source = Location::None;
    }
    return location;
}

Location temporary() {
    Location location(kTemporary, bytes_of(OrbuUtil::getTempFolder()));
    for (char const* const name : {"TMPDIR", "TMP", "TEMP", "TEMPDIR"}) {
        char const* const value = std::getenv(name);
        if (value != nullptr && ::access(value, F_OK) == 0) {
            location.source = Location::Environment;
            location.variable = name;
            break;
        }
    }
    return location;
}

} // namespace

Location const& Survey::at(std::string const& name) const {
    auto const found = std::find_if(locations.begin(), locations.end(),
                                    [&](Location const& location) { return location.name == name; });
    if (found == locations.end()) {
        throw Failure(ExitFailed, "no location is called " + name);
    }
    return *found;
}

Survey take_survey(std::string const& locale) {
    Survey survey;
    for (char const* const name : {"VEXMOOR_ORBU_THINCLIENT_ENV", "VEXMOOR_ORBU_CUSTOM_ENV"}) {
        if (char const* const file = std::getenv(name)) {
            survey.variable = name;
            survey.file = file;
            break;
        }
    }
    PrintedText printed;
    survey.load = OrbuUtil::loadCustomEnvSettings();
    survey.thin_client = OrbuUtil::isThinClient();
    survey.locations = {
        by_own_key(kCommonBin, OrbuUtil::CommonBin),
        in_framework(kCommonLib, OrbuUtil::CommonLib),
        in_framework(kLocalizedData, OrbuUtil::CommonLocalizedData, locale),
        in_framework(kCommonData, OrbuUtil::CommonData),
        in_framework(kErrorTable, OrbuUtil::ErrorTable),
        by_own_key(kLogFile, OrbuUtil::LogFile),
        user_settings(),
        located("framework", OrbuUtil::getOrbuFrameworkLocation(), kFrameworkKey),
        temporary(),
        application("application resource", OrbuUtil::ApplicationResource),
        application("application error log", OrbuUtil::ApplicationErrorLog),
    };
    add_unknown(printed.text(), survey.unknown);
    for (Location& location : survey.locations) {
        location.exists = !location.value.empty() && ::access(location.value.c_str(), F_OK) == 0;
        location.writable = location.exists && ::access(location.value.c_str(), W_OK) == 0;
    }
    return survey;
}

std::string load_words(Survey const& survey) {
    switch (survey.load) {
    case COrbuUtilCustomEnv::Loaded:
        return survey.thin_client ? "in force, for a thin client" : "in force";
    case COrbuUtilCustomEnv::NotConfigured:
        return "none";
    default:
        return "cannot be opened or parsed";
    }
}
