// Options that several verbs have.
#pragma once

#include "verbs.h"

#include <string>

namespace CLI {
class App;
}

// --prefix, --server and --trace: which server, and whether its lines are shown.
void add_server_options(CLI::App& verb, Options& to);

// An option that takes a time such as 500ms or 20s.
void add_duration_option(CLI::App& verb, char const* name, watchdog::Duration& to, std::string const& what);
