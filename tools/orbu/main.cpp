// orbu: the library from the command line.
#include "attributes.h"
#include "dialogVerbs.h"
#include "duration.h"
#include "exitCodes.h"
#include "options.h"
#include "qmx/qmxPipeNamedConduit.h"
#include "runtime.h"
#include "serviceVerbs.h"
#include "terminal.h"
#include "verbs.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <clocale>
#include <csignal>
#include <cstdio>

namespace {

constexpr char kVersion[] = "orbu " ORBU_VERSION;
constexpr char kDefaultTimeout[] = "30s";

constexpr char kFooter[] = R"(Exit codes:
  0 done                           5 nobody answered the dialog within --timeout
  1 the answer is no               6 refused or failed
  2 wrong usage                    7 a value, a recorded line or an envelope cannot be read
  3 no server, none to be started  8 no display, and no terminal either
  4 no answer within --timeout     130 interrupted

Data goes to standard output, everything else to standard error. NO_COLOR is respected.

Examples:
  orbu locales
  orbu call system.listFacilities --json
  orbu ask --title "Delete everything?" --button Yes --button No
  orbu VERB --help)";

constexpr char kCallExamples[] =
    R"(Attributes: key=text gives a string; key:=JSON a long (2), a double (1.5), a boolean (true), a list of
strings (["a","b"]), or a dictionary ({"k":1}). The answer's attributes are printed in wire order.

Examples:
  orbu call system.listLocales
  orbu call orbu.ErrorDialog selector=ErrorDialogBase caption=Demo title="Disk full" icon:=3
  orbu call --prefix /tmp/mine --timeout 500ms --json qmx.MessageBox title=Sure? button_0=Yes button_1=No
  orbu call --trace system.listFacilities 2>record)";

constexpr char kListExamples[] = R"(Examples:
  orbu list
  orbu list --prefix /tmp/mine --json)";

constexpr char kIntrospectExamples[] = R"(Examples:
  orbu introspect orbu
  orbu introspect system --json)";

constexpr char kLocalesExamples[] = R"(Examples:
  orbu locales
  orbu locales --json)";

constexpr char kReplayExamples[] =
    R"(FILE is what --trace wrote to standard error: the lines that begin with "> " are sent again, in a conversation of
their own with its own ids. What begins otherwise, connecting, ending and answers are passed over.

Examples:
  orbu call --trace system.listLocales 2>record
  orbu replay record
  orbu list --trace 2>&1 >/dev/null | orbu replay -)";

struct Arguments {
    Options options;
    std::string name;
    std::vector<std::string> attributes;
    std::string facility;
    std::string file;
};

CLI::App* add_verb(CLI::App& app, Arguments& to, char const* name, char const* what, char const* examples) {
    CLI::App* const verb = app.add_subcommand(name, what);
    verb->footer(examples);
    add_server_options(*verb, to.options);
    add_duration_option(*verb, "--timeout", to.options.timeout,
                        std::string("Limit for all of it, from connecting to the last answer (default: ") +
                            kDefaultTimeout + ")");
    verb->add_flag("--json", to.options.json, "Print typed values as JSON");
    return verb;
}

// Takes what stands behind the first "--" of "orbu wait" off the arguments, word for word: it is a command of
// its own.
std::vector<std::string> split_command(int& argc, char** argv) {
    if (argc < 2 || std::string_view(argv[1]) != "wait") {
        return {};
    }
    char** const end = argv + argc;
    char** const mark =
        std::find_if(argv, end, [](char const* word) { return std::string_view(word) == "--"; });
    argc = static_cast<int>(mark - argv);
    return {mark == end ? end : mark + 1, end};
}

int run(int argc, char** argv) {
    Arguments arguments;
    arguments.options.timeout = *parse_duration(kDefaultTimeout);
    Action action;
    Options const& options = arguments.options;

    CLI::App app(
        "Requests to the companion server, which is started if it does not run, and the library's services.",
        "orbu");
    app.set_version_flag("--version", kVersion);
    app.require_subcommand(0, 1);
    app.footer(kFooter);
    app.get_formatter()->column_width(24);

    CLI::App* verb = add_verb(app, arguments, "call", "Send a request and print the answer", kCallExamples);
    verb->add_option("NAME", arguments.name, "The request, as facility.code")->required();
    verb->add_option("ATTRIBUTE", arguments.attributes, "key=text or key:=JSON")->type_name("");
    verb->callback([&] { action = [&] { return call(options, arguments.name, arguments.attributes); }; });

    verb = add_verb(app, arguments, "list", "List the server's facilities", kListExamples);
    verb->callback([&] { action = [&] { return list_facilities(options); }; });

    verb = add_verb(app, arguments, "introspect", "List the codes of a facility", kIntrospectExamples);
    verb->add_option("FACILITY", arguments.facility, "The facility's name")->required();
    verb->callback([&] { action = [&] { return introspect(options, arguments.facility); }; });

    verb = add_verb(app, arguments, "locales", "List the locales that the server admits", kLocalesExamples);
    verb->callback([&] { action = [&] { return list_locales(options); }; });

    verb = add_verb(app, arguments, "replay", "Send the requests of a recorded conversation again",
                    kReplayExamples);
    verb->add_option("FILE", arguments.file, "The record; - is standard input")->required();
    verb->callback([&] { action = [&] { return replay(options, arguments.file); }; });

    auto const command = split_command(argc, argv);
    add_dialog_verbs(app, arguments.options, command, action);
    add_gallery_verb(app, action);
    add_envelope_verbs(app, action);
    add_settings_verbs(app, action);
    add_log_verbs(app, action);
    add_perf_verb(app, action);
    add_where_verb(app, action);
    add_doctor_verb(app, action);

    try {
        app.parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return app.exit(error) == 0 ? ExitDone : ExitUsage;
    }

    if (!action) {
        tell("say what to do; see orbu --help");
        return ExitUsage;
    }
    Place& place = arguments.options.place;
    place.own_prefix = place.prefix.empty();
    if (place.own_prefix) {
        place.prefix = bytes_of(QMXPipeNamedConduit::defaultPipePrefix("QMX"));
    }
    if (place.server.empty()) {
        place.server = default_server();
    }
    return action();
}

} // namespace

int main(int argc, char** argv) {
    occupy_standard_descriptors();
    // A server or a reader of ours that goes away shows as an error of the write, not as our death.
    sigset_t pipe;
    sigemptyset(&pipe);
    sigaddset(&pipe, SIGPIPE);
    pthread_sigmask(SIG_BLOCK, &pipe, nullptr);
    // Where it is ignored from outside, the end of a child could not be waited for.
    signal(SIGCHLD, SIG_DFL);
    // The library prints a line now and then; standard output is for data.
    stdout = stderr;
    try {
        use_own_runtime();
        return run(argc, argv);
    } catch (Failure const& failure) {
        tell(failure.what());
        return failure.code();
    } catch (std::exception const& error) {
        tell(error.what());
        return ExitFailed;
    }
}
