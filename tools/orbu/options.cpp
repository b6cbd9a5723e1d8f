#include "options.h"

#include "duration.h"

#include <CLI/CLI.hpp>

void add_server_options(CLI::App& verb, Options& to) {
    verb.add_option("--prefix", to.place.prefix,
                    "Folder where client and server meet (default: one of this process's own)")
        ->type_name("DIR")
        ->check([](std::string const& text) { return text.empty() ? "the prefix is empty" : ""; }, "");
    verb.add_option(
            "--server", to.place.server,
            "Server to start if none runs under the prefix (default: the companion beside this program)")
        ->type_name("PATH");
    verb.add_flag("--trace", to.trace,
                  "Show each line as on the wire on standard error: \"> \" out, \"< \" in (see orbu replay)");
}

void add_duration_option(CLI::App& verb, char const* name, watchdog::Duration& to, std::string const& what) {
    verb.add_option_function<std::string>(
            name,
            [name, &to](std::string const& text) {
                auto const duration = parse_duration(text);
                if (!duration) {
                    throw CLI::ValidationError(name, "\"" + text + "\" is no time like 500ms or 20s");
                }
                to = *duration;
            },
            what)
        ->type_name("DURATION");
}
