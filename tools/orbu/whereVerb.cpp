// orbu where: every location, with where it came from.
#include "attributes.h"
#include "exitCodes.h"
#include "runtime.h"
#include "serviceVerbs.h"
#include "survey.h"
#include "terminal.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <memory>

namespace {

constexpr char kExamples[] =
    R"(Tells each location's name, whether it exists and can be written, where its value came from, and the value.

Examples:
  orbu where
  orbu where --json --locale de_DE
  VEXMOOR_ORBU_CUSTOM_ENV=/etc/orbu.xml orbu where)";

char const* const kSources[] = {"default", "file", "thin client", "environment", "none"};

std::string source_words(Location const& location) {
    std::string const& detail = location.key.empty() ? location.variable : location.key;
    return kSources[location.source] + (detail.empty() ? "" : " (" + detail + ")");
}

std::string state_words(Location const& location) {
    return location.value.empty() ? "-"
           : !location.exists     ? "missing"
           : location.writable    ? "writable"
                                  : "read-only";
}

std::string padded(std::string text, size_t width) {
    text.resize(width + 2, ' ');
    return text;
}

std::string as_text(Survey const& survey) {
    std::string text = "custom environment: " + load_words(survey);
    if (!survey.variable.empty()) {
        text += ": " + one_line(survey.file) +
                (uses_own_runtime() ? " (of this program)" : " (" + survey.variable + ")");
    }
    text += "\n";
    size_t names = 0;
    size_t sources = 0;
    for (Location const& location : survey.locations) {
        names = std::max(names, location.name.size());
        sources = std::max(sources, source_words(location).size());
    }
    constexpr size_t kStates = std::string_view("read-only").size();
    for (Location const& location : survey.locations) {
        std::string line = padded(location.name, names) + padded(state_words(location), kStates) +
                           padded(source_words(location), sources) + one_line(location.value);
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + "\n";
    }
    for (std::string const& name : survey.unknown) {
        text += "unknown variable: $" + one_line(name) + "\n";
    }
    return text;
}

std::string as_json(Survey const& survey) {
    nlohmann::ordered_json load = {{"result", survey.load}, {"words", load_words(survey)}};
    if (!survey.variable.empty()) {
        load["file"] = survey.file;
        load["variable"] = survey.variable;
        load["own"] = uses_own_runtime();
        load["thinClient"] = survey.thin_client;
    }
    auto locations = nlohmann::ordered_json::array();
    for (Location const& location : survey.locations) {
        nlohmann::ordered_json entry = {{"name", location.name}, {"value", location.value}};
        entry["source"] = kSources[location.source];
        if (!location.key.empty()) {
            entry["key"] = location.key;
        }
        if (!location.variable.empty()) {
            entry["variable"] = location.variable;
        }
        entry["exists"] = location.exists;
        entry["writable"] = location.writable;
        locations.push_back(entry);
    }
    nlohmann::ordered_json const all = {
        {"load", load}, {"locations", locations}, {"unknownVariables", survey.unknown}};
    return all.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

} // namespace

void add_where_verb(CLI::App& app, Action& action) {
    struct Arguments {
        std::string locale;
        bool json = false;
    };
    auto const arguments = std::make_shared<Arguments>();
    CLI::App* const verb = app.add_subcommand("where", "Tell where the library looks for its files");
    verb->footer(kExamples);
    verb->add_option("--locale", arguments->locale, "The locale of the localized data")->type_name("LOCALE");
    verb->add_flag("--json", arguments->json, "Print it as JSON");
    verb->callback([arguments, &action] {
        action = [arguments] {
            Survey const survey = take_survey(arguments->locale);
            put(arguments->json ? as_json(survey) : as_text(survey));
            return ExitDone;
        };
    });
}
