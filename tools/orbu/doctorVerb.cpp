// orbu doctor: one verdict a line on what the library needs to find around it.
#include "attributes.h"
#include "conversation.h"
#include "duration.h"
#include "exitCodes.h"
#include "options.h"
#include "orbulog/orbuErrorTable.h"
#include "orbuutil/orbuMutex.h"
#include "orbuutil/orbuSettings.h"
#include "orbuutil/orbuUtil.h"
#include "orbuutil/orbuUtilCustomEnv.h"
#include "orbuutil/tlist.h"
#include "presenter.h"
#include "qmx/qmxPipeNamedConduit.h"
#include "qmx/qmxPipePacket.h"
#include "runtime.h"
#include "serviceVerbs.h"
#include "stringTables.h"
#include "survey.h"
#include "terminal.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr char kExamples[] =
    R"(Checks the custom environment, the locations, the user's settings, the error table, the string resources of
every locale, a conversation with the companion, which is started for it, the folder of its FIFOs, and how dialogs are
shown. A line that begins with "wrong" says what to do, and the exit code is then 1.

Examples:
  orbu doctor
  orbu doctor --timeout 5s)";

constexpr char kServerInBin[] = "QMX.app/Contents/MacOS/QMX";
constexpr char kReinstall[] = "install the runtime again, or name its folder in a custom environment file";

class Verdicts {
public:
    void ok(std::string const& subject, std::string const& words) { print("ok     ", subject, words); }
    void wrong(std::string const& subject, std::string const& words, std::string const& advice) {
        wrong_ = true;
        print("wrong  ", subject, words + "; " + advice);
    }
    bool any_wrong() const { return wrong_; }

private:
    static void print(char const* verdict, std::string const& subject, std::string const& words) {
        put(verdict + one_line(subject + ": " + words) + "\n");
    }

    bool wrong_ = false;
};

std::string advice_on(Survey const& survey, Location const& location) {
    return !location.key.empty()        ? "correct " + location.key + " in " + survey.file
           : !location.variable.empty() ? "set " + location.variable
                                        : kReinstall;
}

// Whether the subject can be looked for in a location: where that is none, or none of one meaning, the
// current folder's files would be taken for it.
bool has_place(Survey const& survey, char const* name, char const* subject, Verdicts& verdicts) {
    Location const& location = survey.at(name);
    bool const absolute = location.value.starts_with('/');
    if (!absolute) {
        verdicts.wrong(subject, std::string("there is no absolute path for ") + name,
                       advice_on(survey, location));
    }
    return absolute;
}

bool is_folder(std::filesystem::path const& path) {
    std::error_code ignored;
    return std::filesystem::is_directory(path, ignored);
}

// The nearest folder on the way to `path` that exists.
std::filesystem::path existing_above(std::filesystem::path path) {
    std::error_code ignored;
    while (path.has_relative_path() && !std::filesystem::exists(path, ignored)) {
        path = path.parent_path();
    }
    return path;
}

void check_environment(Survey const& survey, Verdicts& verdicts) {
    constexpr char kSubject[] = "custom environment";
    if (survey.load > COrbuUtilCustomEnv::NotConfigured) {
        verdicts.wrong(kSubject, survey.file + " cannot be opened or parsed",
                       "correct the file, or unset " + survey.variable);
    } else if (survey.load == COrbuUtilCustomEnv::NotConfigured) {
        verdicts.ok(kSubject, "none, the default locations hold");
    } else {
        verdicts.ok(kSubject, survey.file);
    }
    for (std::string const& name : survey.unknown) {
        verdicts.wrong(kSubject, "the environment has no variable \"" + name + "\"",
                       "set it, or take it out of " + survey.file);
    }
}

// A folder that came with the library.
void check_shipped(Survey const& survey, char const* name, Verdicts& verdicts) {
    Location const& location = survey.at(name);
    if (location.value.empty()) {
        verdicts.wrong(name, "there is none", advice_on(survey, location));
    } else if (location.value.front() != '/') {
        verdicts.wrong(name, location.value + " is no absolute path", advice_on(survey, location));
    } else if (!is_folder(location.value) || ::access(location.value.c_str(), R_OK | X_OK) != 0) {
        verdicts.wrong(name, location.value + (location.exists ? " cannot be read" : " does not exist"),
                       advice_on(survey, location));
    } else {
        verdicts.ok(name, location.value);
    }
}

// Whether the location is the folder that the library has in the user's home.
bool is_in_home(Location const& location) {
    char const* const home = std::getenv("HOME");
    return home != nullptr && location.value.starts_with(std::string(home) + "/Orbu/");
}

// A folder that is written to. One that is missing is made when it is needed.
void check_written(Survey const& survey, char const* name, Verdicts& verdicts) {
    Location const& location = survey.at(name);
    if (location.value.empty()) {
        verdicts.wrong(name, "there is none", advice_on(survey, location));
        return;
    }
    if (location.value.front() != '/') {
        verdicts.wrong(name, location.value + " is no absolute path", advice_on(survey, location));
        return;
    }
    auto const above = existing_above(location.value);
    if (!is_folder(above)) {
        verdicts.wrong(name, location.value + " cannot be made: " + above.string() + " is no folder",
                       advice_on(survey, location));
    } else if (::access(above.c_str(), W_OK | X_OK) != 0) {
        verdicts.wrong(name, location.value + (location.exists ? " cannot be written" : " cannot be made"),
                       "give yourself write permission to " + above.string() +
                           (is_in_home(location) ? ", or set HOME to a folder where you have it" : ""));
    } else {
        verdicts.ok(name, location.value + (location.exists ? "" : " (not made yet)"));
    }
}

void check_settings(Survey const& survey, std::chrono::nanoseconds limit, Verdicts& verdicts) {
    constexpr char kSubject[] = "settings file";
    if (!has_place(survey, kUserSettings, kSubject, verdicts)) {
        return;
    }
    std::string const file = survey.at(kUserSettings).value + "OrbuUserSettings.xml";
    if (::access(file.c_str(), F_OK) != 0) {
        verdicts.ok(kSubject, "none yet");
        return;
    }
    // The library waits for the store's lock without a limit. Giving it back frees its name.
    auto const wait = std::chrono::duration_cast<std::chrono::microseconds>(limit).count();
    OrbuMutex lock;
    if (lock.Open(OrbuSettings::formatMutexName(file.c_str())) &&
        !lock.Lock(static_cast<int>(std::clamp(wait, 1L, static_cast<long>(INT_MAX))))) {
        verdicts.wrong(kSubject, file + " was locked by another process for " + duration_text(limit),
                       "try again: the lock is free now, in case its holder was killed");
        return;
    }
    lock.UnLock();
    lock.Close();
    OrbuSettings settings(false);
    if (settings.open(TPath(file.c_str()), false)) {
        verdicts.ok(kSubject, file);
        return;
    }
    int const line = settings.errorLine();
    verdicts.wrong(kSubject,
                   file + ": " + bytes_of(settings.errorText()) +
                       (line > 0 ? " (line " + std::to_string(line) + ")" : ""),
                   "correct it, or move it away to begin anew");
}

void check_error_table(Survey const& survey, Verdicts& verdicts) {
    constexpr char kSubject[] = "error table file";
    if (!has_place(survey, kErrorTable, kSubject, verdicts)) {
        return;
    }
    std::string const file = survey.at(kErrorTable).value + "OrbuErrorCodes.xml";
    OrbuErrorTable table(file.c_str());
    if (!table.Load()) {
        verdicts.wrong(kSubject, file + " cannot be opened or parsed", kReinstall);
        return;
    }
    for (int const vendor : {1, 7, 8}) {
        if (table.GetVendorName(vendor).isEmpty()) {
            verdicts.wrong(kSubject, file + " has no name for vendor " + std::to_string(vendor), kReinstall);
            return;
        }
    }
    verdicts.ok(kSubject, file);
}

// The words of the dialogs, in every locale.
void check_string_resources(Survey const& survey, Verdicts& verdicts) {
    constexpr char kSubject[] = "string resources";
    if (!has_place(survey, kLocalizedData, kSubject, verdicts)) {
        return;
    }
    Location const& location = survey.at(kLocalizedData);
    if (!location.exists) {
        verdicts.wrong(kSubject, location.value + " does not exist", advice_on(survey, location));
        return;
    }
    auto const tables = read_string_tables();
    auto const faults = find_faults(tables);
    for (StringFault const& fault : faults) {
        verdicts.wrong(kSubject, fault.words, fault.advice.empty() ? kReinstall : fault.advice);
    }
    if (faults.empty()) {
        verdicts.ok(kSubject, std::to_string(tables.size()) + " locales with the same " +
                                  std::to_string(tables.begin()->second.ids.size()) + " texts");
    }
}

// Where the prefix of the companion is made.
void check_meeting_place(std::filesystem::path const& folder, Verdicts& verdicts) {
    constexpr char kSubject[] = "folder of FIFO folders";
    struct stat found = {};
    if (::stat(folder.c_str(), &found) != 0 || !S_ISDIR(found.st_mode) ||
        ::access(folder.c_str(), W_OK | X_OK) != 0) {
        verdicts.wrong(kSubject, folder.string() + " cannot be written",
                       "let the administrator make it mode 1777");
    } else if ((found.st_mode & S_IWOTH) != 0 && (found.st_mode & S_ISVTX) == 0) {
        verdicts.wrong(kSubject, folder.string() + " lets everybody remove the files of others",
                       "let the administrator make it mode 1777");
    } else {
        verdicts.ok(kSubject, folder.string());
    }
}

void check_fifo_folder(std::string const& prefix, Verdicts& verdicts) {
    constexpr char kSubject[] = "FIFO folder";
    for (std::string const& path : {prefix, prefix + "/0"}) {
        struct stat found = {};
        if (::stat(path.c_str(), &found) != 0) {
            verdicts.wrong(kSubject, path + " cannot be reached", "see that nobody removes files there");
            return;
        }
        if (found.st_uid != ::geteuid() || (found.st_mode & S_IRWXO) != 0) {
            verdicts.wrong(kSubject, path + " is open to others, or belongs to another user",
                           "remove " + prefix);
            return;
        }
    }
    verdicts.ok(kSubject, prefix);
}

void check_dialogs(Shown shown, Verdicts& verdicts) {
    constexpr char kSubject[] = "dialogs";
    switch (shown) {
    case Shown::Windows:
        verdicts.ok(kSubject, "shown in windows");
        break;
    case Shown::Rules:
        verdicts.ok(kSubject, "answered by rules: ORBU_QMX_ANSWERS or ORBU_QMX_ANSWERS_FILE is set");
        break;
    case Shown::Untold:
        verdicts.wrong(kSubject, "the companion is an older one and does not tell how it shows them",
                       kReinstall);
        break;
    case Shown::Gone:
        verdicts.wrong(kSubject, "the companion ended when it was to show windows",
                       "see that there is a display, or unset ORBU_QMX_PRESENTER");
        break;
    case Shown::Nobody:
        if (has_display() && !is_told_to_be_headless()) {
            verdicts.wrong(kSubject,
                           "not shown, although DISPLAY or WAYLAND_DISPLAY names a display: it cannot be "
                           "opened, or the companion has no windows",
                           "see that the display can be used, and that PlugIns/windows.so stands in QMX.app");
        } else {
            verdicts.ok(kSubject,
                        "not shown, there is no display: the button with the focus counts as pressed");
        }
        break;
    }
}

// What to do when the companion cannot be started, or does not answer.
char const* advice_on_start(Survey const& survey, int code) {
    auto const is_set = [](char const* name) {
        char const* const value = std::getenv(name);
        return value != nullptr && *value != '\0';
    };
    if (code == ExitTimeLimit) {
        return "try a longer --timeout";
    }
    // The library takes the first ".app" of a server's path for its bundle, whatever stands around it.
    if (::strcasestr(survey.at(kCommonBin).value.c_str(), ".app") != nullptr) {
        return "move the runtime to a place without \".app\" in its path";
    }
    // The companion does not start with one that it cannot read.
    if (is_set("ORBU_QMX_PRESENTER") || is_set("ORBU_QMX_IDLE")) {
        return "correct or unset ORBU_QMX_PRESENTER and ORBU_QMX_IDLE, or install the runtime again";
    }
    return kReinstall;
}

void check_server(Survey const& survey, std::chrono::nanoseconds limit, Verdicts& verdicts) {
    constexpr char kSubject[] = "companion";
    std::string const prefix = bytes_of(QMXPipeNamedConduit::defaultPipePrefix("QMX"));
    check_meeting_place(std::filesystem::path(prefix).parent_path(), verdicts);
    if (!has_place(survey, kCommonBin, kSubject, verdicts)) {
        return;
    }

    Place const place{survey.at(kCommonBin).value + kServerInBin, prefix, true};
    auto const begin = std::chrono::steady_clock::now();
    try {
        Observer observer;
        Conversation conversation(place, limit, observer);
        QMXPipePacket request("system.listLocales", nullptr, QMXPipe::Synchronous);
        QMXPipePacket response(QMXPipe::SynchronicityDefault);
        conversation.ask(request, response);
        auto const took =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - begin);
        auto const locales = items_of(response.attributeAsStringList("LCLT"));
        if (locales.empty()) {
            verdicts.wrong(kSubject, place.server + " admits no locale", kReinstall);
        } else {
            verdicts.ok(kSubject, place.server + " started and answered within " + duration_text(took));
        }
        check_fifo_folder(prefix, verdicts);
        check_dialogs(ask_presenter(conversation), verdicts);
        conversation.end();
    } catch (Failure const& failure) {
        if (failure.code() >= ExitSignal) {
            throw;
        }
        verdicts.wrong(kSubject, failure.what(), advice_on_start(survey, failure.code()));
    }
}

int examine(std::chrono::nanoseconds limit) {
    Survey const survey = take_survey("");
    Verdicts verdicts;
    check_environment(survey, verdicts);
    for (char const* const name : {kCommonBin, kCommonLib, kCommonData, kErrorTable}) {
        check_shipped(survey, name, verdicts);
    }
    for (char const* const name : {kLogFile, kUserSettings, kTemporary}) {
        check_written(survey, name, verdicts);
    }
    check_settings(survey, limit, verdicts);
    check_error_table(survey, verdicts);
    check_string_resources(survey, verdicts);
    check_server(survey, limit, verdicts);
    return verdicts.any_wrong() ? ExitNegative : ExitDone;
}

} // namespace

void add_doctor_verb(CLI::App& app, Action& action) {
    auto const limit = std::make_shared<std::chrono::nanoseconds>(std::chrono::seconds(30));
    CLI::App* const verb = app.add_subcommand("doctor", "Check what the library needs, and say what to do");
    verb->footer(kExamples);
    add_duration_option(
        *verb, "--timeout", *limit,
        "Limit for the conversation with the companion, and for waiting for the settings (default: 30s)");
    verb->callback([limit, &action] { action = [limit] { return examine(*limit); }; });
}
