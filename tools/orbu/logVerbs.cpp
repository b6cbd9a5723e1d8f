// orbu explain and orbu log: the words of the error table, and entries in the logs of a host.
#include "attributes.h"
#include "exitCodes.h"
#include "freshFile.h"
#include "orbulog/orbuDebugLog.h"
#include "orbulog/orbuDebugLogger.h"
#include "orbulog/orbuErrorTable.h"
#include "orbulog/orbuPerfLog.h"
#include "orbulog/orbuPerfLogger.h"
#include "orbuutil/orbuUtil.h"
#include "serviceVerbs.h"
#include "terminal.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <optional>
#include <sys/stat.h>

namespace {

constexpr char kExplainExamples[] =
    R"(VENDOR is a number or the name of a component (OrbuInt, OrbuRT, OrbuQMX). Without CODE the whole table of the vendor
is listed. The table is OrbuErrorCodes.xml in the error table's folder. Exit 1: the table has no words for it.

Examples:
  orbu explain OrbuInt
  orbu explain 1 5
  orbu explain OrbuQMX 4 --json
  orbu explain 1 -- -1)";

constexpr char kLogExamples[] =
    R"(Entries go where a host's go: OrbuDebug.log and OrbuPerfLog.csv in the folder Orbu of HOME. As in a host they are
written only when the log's variable is set (ORBU_DEBUG_MODE, ORBU_PERF_LOG; an empty value counts); --enable sets it for
this one entry. The line that was written is printed. Exit 1: the log is off, and nothing was written.

Examples:
  orbu log debug --enable "starting up"
  ORBU_PERF_LOG= orbu log perf --vendor OrbuQMX Load.START
  orbu log perf --enable --data file --data report.txt Load.END)";

struct Arguments {
    std::string vendor;
    std::optional<int> code;
    std::string table;
    std::string text;
    std::vector<std::string> data;
    bool json = false;
    bool enable = false;
};

Orbu::VendorID vendor_of(std::string const& text) {
    int number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc() && end == text.data() + text.size() && !text.empty()) {
        return static_cast<Orbu::VendorID>(number);
    }
    std::string known;
    for (Orbu::Vendor const& vendor : Orbu::kVendors) {
        if (text == vendor.component) {
            return vendor.id;
        }
        known += (known.empty() ? "" : ", ") + std::string(vendor.component);
    }
    throw Failure(ExitUsage, "\"" + one_line(text) + "\" is no vendor: a number, or one of " + known);
}

std::string default_table() {
    std::string folder = bytes_of(OrbuUtil::getOrbuFileLocation(OrbuUtil::ErrorTable, ""));
    if (folder.empty()) {
        throw Failure(ExitFailed, "the error table has no folder: see orbu where");
    }
    return folder + (folder.back() == '/' ? "" : "/") + "OrbuErrorCodes.xml";
}

int explain(Arguments const& arguments) {
    Orbu::VendorID const vendor = vendor_of(arguments.vendor);
    std::string const path = arguments.table.empty() ? default_table() : arguments.table;
    OrbuErrorTable table(path.c_str());
    if (!table.Load()) {
        bool const there = !is_special(path) && std::ifstream(path).good();
        throw Failure(there ? ExitBadData : ExitFailed,
                      "the error table " + one_line(path) + (there ? " is no XML" : " cannot be read"));
    }

    using Words = std::vector<std::pair<int, std::string>>;
    Words words;
    if (arguments.code) {
        std::string const text = bytes_of(table.GetErrorDescription(vendor, *arguments.code));
        if (!text.empty()) {
            words.emplace_back(*arguments.code, text);
        }
    } else {
        table.ForEachError(
            vendor,
            [](int status, TStr const& text, void* context) {
                static_cast<Words*>(context)->emplace_back(status, bytes_of(text));
            },
            &words);
    }
    std::string const name = bytes_of(table.GetVendorName(vendor));
    std::string const component = Orbu::getVendorComponent(vendor);
    if (words.empty() && (arguments.code || name.empty())) {
        tell("the table has no words for vendor " + std::to_string(vendor) +
             (arguments.code ? ", code " + std::to_string(*arguments.code) : ""));
        return ExitNegative;
    }

    if (arguments.json) {
        nlohmann::ordered_json result = {{"vendor", int(vendor)}, {"component", component}, {"name", name}};
        result["errors"] = nlohmann::ordered_json::array();
        for (auto const& [code, text] : words) {
            result["errors"].push_back({{"code", code}, {"description", text}});
        }
        put(result.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
    } else if (arguments.code) {
        put(one_line(words[0].second) + "\n");
    } else {
        std::string text = std::to_string(vendor) + "  " + component + "  " + one_line(name) + "\n";
        for (auto const& [code, description] : words) {
            text += std::to_string(code) + "  " + one_line(description) + "\n";
        }
        put(text);
    }
    return ExitDone;
}

off_t size_of(std::string const& path) {
    struct stat info {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_size : 0;
}

// What has been added to a file since it had `size` bytes, as far as an entry of `most` bytes can be in it
// beside those of others.
std::string added_to(std::string const& path, off_t size, size_t most) {
    struct stat info {};
    if (::stat(path.c_str(), &info) != 0 || !S_ISREG(info.st_mode)) {
        return {};
    }
    std::ifstream file(path, std::ios::binary);
    std::string text(std::min(static_cast<size_t>(std::max<off_t>(info.st_size - size, 0)), most + (1 << 20)),
                     '\0');
    file.seekg(size);
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<size_t>(file.gcount()));
    return text;
}

// Writes the entry as a host does. The logger never says whether it could, so the line is looked for: behind
// what the file held, from its section to `end`.
template <typename Logger, typename Record>
int write_entry(char const* variable, bool enable, char delimiter, Record const& record,
                std::string const& end) {
    if (enable) {
        ::setenv(variable, "", 0);
    }
    Logger logger;
    std::string const path = bytes_of(logger.getLogFileName());
    if (!logger.isEnabled()) {
        tell(std::string("nothing was written: the log is off, as ") + variable +
             " is not set (--enable sets it for one entry)");
        return ExitNegative;
    }
    if (path.empty()) {
        throw Failure(ExitFailed, "nothing was written: there is no folder for the log (Orbu in HOME)");
    }
    off_t const size = size_of(path);
    if (delimiter == ',') {
        logger.startLoggingWMilliSecs();
    } else {
        logger.startLogging();
    }
    errno = 0;
    logger.log(record);
    int const reason = errno;

    std::string section = bytes_of(logger.getHeader());
    std::replace(section.begin(), section.end(), ' ', delimiter);
    std::string const text = added_to(path, size, end.size());
    size_t const start = text.find(section + delimiter);
    size_t const stop = start == text.npos ? text.npos : text.find(end, start);
    if (stop == text.npos) {
        throw Failure(ExitFailed, "nothing was written to " + one_line(path) +
                                      (reason != 0 ? std::string(": ") + std::strerror(reason) : ""));
    }
    put(text.substr(start, stop + end.size() - start));
    return ExitDone;
}

int log_debug(Arguments const& arguments) {
    OrbuDebugLog const record(vendor_of(arguments.vendor), arguments.text.c_str());
    return write_entry<OrbuDebugLogger>("ORBU_DEBUG_MODE", arguments.enable, ' ', record,
                                        arguments.text + " \n");
}

int log_perf(Arguments const& arguments) {
    OrbuPerfLogData data;
    TStr* const fields[] = {&data.data1, &data.data2, &data.data3, &data.data4};
    for (size_t i = 0; i < arguments.data.size() && i < std::size(fields); ++i) {
        *fields[i] = arguments.data[i].c_str();
    }
    data.event = arguments.text.c_str();
    OrbuPerfLog const record(vendor_of(arguments.vendor), data);
    return write_entry<OrbuPerfLogger>("ORBU_PERF_LOG", arguments.enable, ',', record,
                                       (arguments.text.empty() ? "NA" : arguments.text) + ",\n");
}

} // namespace

void add_log_verbs(CLI::App& app, Action& action) {
    auto const arguments = std::make_shared<Arguments>();
    CLI::App* verb = app.add_subcommand("explain", "Print the words of the error table");
    verb->footer(kExplainExamples);
    verb->add_option("VENDOR", arguments->vendor, "The vendor's number or component")->required();
    verb->add_option("CODE", arguments->code, "The status number");
    verb->add_option("--table", arguments->table, "Another error table")->type_name("FILE");
    verb->add_flag("--json", arguments->json, "Print JSON");
    verb->callback([&action, arguments] { action = [arguments] { return explain(*arguments); }; });

    CLI::App* const log = app.add_subcommand("log", "Write one entry to the debug or the performance log");
    log->footer(kLogExamples);
    log->require_subcommand(1);
    arguments->vendor = "OrbuInt";
    auto const add_kind = [&](char const* name, char const* what, char const* text, char const* text_is,
                              int (*run)(Arguments const&)) {
        CLI::App* const kind = log->add_subcommand(name, what);
        kind->footer(kLogExamples);
        kind->add_option(text, arguments->text, text_is)->required();
        kind->add_option("--vendor", arguments->vendor, "The component that writes (default: OrbuInt)")
            ->type_name("VENDOR");
        kind->add_flag("--enable", arguments->enable, "Write also when the log's variable is not set");
        kind->callback([&action, arguments, run] { action = [arguments, run] { return run(*arguments); }; });
        return kind;
    };
    add_kind("debug", "One line of trace", "MESSAGE", "The message", log_debug);
    add_kind("perf", "One line of timing", "EVENT", "The event, such as Load.START or Load.END", log_perf)
        ->add_option("--data", arguments->data, "A data field; up to four, in order")
        ->type_name("TEXT")
        ->expected(0, 4)
        ->allow_extra_args(false)
        ->take_all();
}
