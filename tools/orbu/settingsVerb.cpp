// orbu settings: the user's settings store.
#include "attributes.h"
#include "duration.h"
#include "exitCodes.h"
#include "options.h"
#include "orbuutil/orbuMutex.h"
#include "orbuutil/orbuSettings.h"
#include "orbuutil/orbuUtil.h"
#include "serviceVerbs.h"
#include "terminal.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <memory>
#include <unistd.h>

namespace {

using Json = nlohmann::ordered_json;

constexpr char kFileName[] = "OrbuUserSettings.xml";
constexpr char kDefaultTimeout[] = "20s";
constexpr int kLockTurn = 1000; // microseconds

constexpr char kExamples[] = R"(Examples:
  orbu settings set viewer zoom 125
  orbu settings get viewer zoom
  orbu settings list
  orbu settings list viewer --json
  orbu settings set --file /tmp/other.xml -- viewer offset -5
  orbu settings remove viewer zoom)";

struct Arguments {
    std::string file;
    std::chrono::nanoseconds timeout = *parse_duration(kDefaultTimeout);
    std::string section;
    std::string key;
    std::string value;
    bool json = false;
};

struct Entry {
    std::string section, key, value;
};

std::string named(Arguments const& arguments) {
    return "\"" + one_line(arguments.key) + "\" in section \"" + one_line(arguments.section) + "\"";
}

// The library takes names as they come: an empty one ends the process, and a "/" puts a value elsewhere.
std::string check_name(std::string const& name) {
    if (name.empty()) {
        return "a name is never empty";
    }
    return name.find('/') == std::string::npos
               ? ""
               : "\"" + one_line(name) + "\" has a \"/\": the store would put it under another name";
}

// What the file would not give back as it was given: XML has no other control characters, and turns a
// carriage return into a new line.
void check_text(std::string const& what, std::string const& text) {
    bool const control = std::any_of(text.begin(), text.end(), [](char c) {
        return static_cast<unsigned char>(c) < ' ' && c != '\t' && c != '\n';
    });
    if (control) {
        throw Failure(ExitBadData, what + " has a control character, which the file cannot hold");
    }
    try {
        static_cast<void>(Json(text).dump());
    } catch (Json::exception const&) {
        throw Failure(ExitBadData, what + " is not UTF-8");
    }
    if (text.find_first_not_of("\t\n ") == std::string::npos) {
        throw Failure(ExitBadData, what + " is blank, which the file cannot hold");
    }
}

void resolve_file(Arguments& arguments) {
    if (arguments.file.empty()) {
        std::string const folder = bytes_of(OrbuUtil::getOrbuFileLocation(OrbuUtil::UserSettings, TStr()));
        if (folder.empty()) {
            throw Failure(ExitFailed,
                          "there is no folder for the user's settings (see orbu where); use --file");
        }
        arguments.file = folder + kFileName;
    }
}

// Waits until nobody holds the store, so that the library, which waits without a limit, goes ahead. Leaving
// frees the name of the lock, also one that a killed process has left taken.
void wait_for_lock(Arguments const& arguments) {
    OrbuMutex lock;
    if (!lock.Open(OrbuSettings::formatMutexName(arguments.file.c_str()))) {
        return;
    }
    // The lock counts its sleeps as asked for, and each takes longer than that: the clock decides.
    auto const limit = std::chrono::steady_clock::now() + arguments.timeout;
    bool held = lock.Lock(kLockTurn);
    while (!held && std::chrono::steady_clock::now() < limit) {
        held = lock.Lock(kLockTurn);
    }
    if (!held) {
        throw Failure(ExitTimeLimit, arguments.file + ": locked by another process for " +
                                         duration_text(arguments.timeout) +
                                         "; the lock is free now, in case its holder was killed: try again");
    }
}

void open_store(OrbuSettings& store, Arguments const& arguments) {
    std::string const& file = arguments.file;
    wait_for_lock(arguments);
    if (store.open(file.c_str(), false)) {
        return;
    }
    if (::access(file.c_str(), R_OK) != 0) {
        throw Failure(ExitFailed, file + ": " + std::strerror(errno));
    }
    std::string const place =
        store.errorLine() > 0 ? file + ", line " + std::to_string(store.errorLine()) : file;
    throw Failure(ExitBadData, place + ": " + bytes_of(store.errorText()) + " (left as it is)");
}

// The values in the store, by their exact names.
std::vector<Entry> entries_of(OrbuSettings const& store) {
    std::vector<Entry> entries;
    store.visitData(
        [](TStr const& section, TStr const& key, TStr const& value, void* context) {
            static_cast<std::vector<Entry>*>(context)->push_back(
                {bytes_of(section), bytes_of(key), bytes_of(value)});
        },
        &entries);
    return entries;
}

Entry const* find(std::vector<Entry> const& entries, Arguments const& arguments) {
    auto const found = std::find_if(entries.begin(), entries.end(), [&](Entry const& entry) {
        return entry.section == arguments.section && entry.key == arguments.key;
    });
    return found != entries.end() ? &*found : nullptr;
}

std::vector<Entry> read_entries(Arguments const& arguments) {
    OrbuSettings store(false);
    open_store(store, arguments);
    return entries_of(store);
}

int tell_unset(Arguments const& arguments) {
    tell(named(arguments) + " is not set");
    return ExitNegative;
}

// Saves, and judges by what the file holds then: the result of save says nothing.
template <typename IsDone>
int save(OrbuSettings& store, Arguments const& arguments, IsDone is_done, std::string const& otherwise) {
    store.save(arguments.file.c_str());
    std::string const reason = bytes_of(store.errorText());
    if (!is_done(read_entries(arguments))) {
        throw Failure(ExitFailed, arguments.file + ": " + (reason.empty() ? otherwise : reason));
    }
    return ExitDone;
}

int get_value(Arguments const& arguments) {
    std::vector<Entry> const entries = read_entries(arguments);
    Entry const* const entry = find(entries, arguments);
    if (entry == nullptr) {
        return tell_unset(arguments);
    }
    put((arguments.json ? Json(entry->value).dump(-1, ' ', false, Json::error_handler_t::replace)
                        : entry->value) +
        "\n");
    return ExitDone;
}

int set_value(Arguments const& arguments) {
    check_text("the section", arguments.section);
    check_text("the key", arguments.key);
    check_text("the value", arguments.value);
    OrbuSettings store(false);
    open_store(store, arguments);
    std::vector<Entry> const entries = entries_of(store);
    if (Entry const* const entry = find(entries, arguments); entry != nullptr && entry->value.empty()) {
        throw Failure(ExitFailed, named(arguments) + " has no text in the file, which hides what is set; "
                                                     "remove it first");
    }
    store.setData(arguments.section.c_str(), arguments.key.c_str(), arguments.value.c_str());
    return save(
        store, arguments,
        [&](std::vector<Entry> const& now) {
            Entry const* const entry = find(now, arguments);
            return entry != nullptr && entry->value == arguments.value;
        },
        named(arguments) + " does not read back as set: another process has saved at the same time");
}

int remove_value(Arguments const& arguments) {
    OrbuSettings store(false);
    open_store(store, arguments);
    if (find(entries_of(store), arguments) == nullptr) {
        return tell_unset(arguments);
    }
    store.removeData(arguments.section.c_str(), arguments.key.c_str());
    return save(
        store, arguments, [&](std::vector<Entry> const& now) { return find(now, arguments) == nullptr; },
        named(arguments) + " is still there: it was more than once in the file, or another process has "
                           "saved at the same time");
}

int list_values(Arguments const& arguments) {
    Json sections = Json::object();
    std::string lines;
    for (Entry const& entry : read_entries(arguments)) {
        if (arguments.section.empty() || arguments.section == entry.section) {
            sections[entry.section][entry.key] = entry.value;
            lines += one_line(entry.section) + "/" + one_line(entry.key) + "=" + one_line(entry.value) + "\n";
        }
    }
    put(arguments.json ? sections.dump(2, ' ', false, Json::error_handler_t::replace) + "\n" : lines);
    return ExitDone;
}

int list_sections(Arguments const& arguments) {
    std::vector<std::string> names;
    for (Entry const& entry : read_entries(arguments)) {
        if (std::find(names.begin(), names.end(), entry.section) == names.end()) {
            names.push_back(entry.section);
        }
    }
    put(names_text(names, arguments.json));
    return ExitDone;
}

enum Operands : unsigned { MayNameSection = 1, NamesKey = 2, TakesValue = 4, GivesJson = 8 };

} // namespace

void add_settings_verbs(CLI::App& app, Action& action) {
    struct {
        char const* name;
        char const* what;
        unsigned operands;
        int (*run)(Arguments const&);
    } const verbs[] = {
        {"get", "Print the value of a key", NamesKey | GivesJson, get_value},
        {"set", "Set a key to a value", NamesKey | TakesValue, set_value},
        {"remove", "Take a key away; the last one of the store stays", NamesKey, remove_value},
        {"list", "List the keys and values, or those of one section", MayNameSection | GivesJson,
         list_values},
        {"sections", "List the sections", GivesJson, list_sections},
    };
    auto const arguments = std::make_shared<Arguments>();
    CLI::App* const settings = app.add_subcommand("settings", "Read and change the user's settings");
    settings->require_subcommand(1);
    settings->footer(kExamples);
    for (auto const& row : verbs) {
        CLI::App* const verb = settings->add_subcommand(row.name, row.what);
        verb->footer(kExamples);
        verb->add_option("--file", arguments->file,
                         std::string("The store (default: ") + kFileName +
                             " in the folder of the user's settings)")
            ->type_name("FILE")
            ->check(
                [](std::string const& file) {
                    return file.empty()                           ? "the file's name is empty"
                           : file.find('\\') != std::string::npos ? "a backslash would be taken for a \"/\""
                                                                  : "";
                },
                "");
        add_duration_option(*verb, "--timeout", arguments->timeout,
                            std::string("How long to wait for another process (default: ") + kDefaultTimeout +
                                ")");
        if (row.operands & (MayNameSection | NamesKey)) {
            auto* const section =
                verb->add_option("SECTION", arguments->section, "The section's name")->type_name("");
            if (row.operands & NamesKey) {
                section->required()->check(check_name, "");
                verb->add_option("KEY", arguments->key, "The key's name")
                    ->type_name("")
                    ->required()
                    ->check(check_name, "");
            }
        }
        if (row.operands & TakesValue) {
            verb->add_option("VALUE", arguments->value, "The value")
                ->type_name("")
                ->required()
                ->check(
                    [](std::string const& value) {
                        return value.empty() ? "a value is never empty; see orbu settings remove" : "";
                    },
                    "");
        }
        if (row.operands & GivesJson) {
            verb->add_flag("--json", arguments->json, "Print JSON");
        }
        verb->callback([&action, arguments, run = row.run] {
            action = [arguments, run] {
                resolve_file(*arguments);
                return run(*arguments);
            };
        });
    }
}
