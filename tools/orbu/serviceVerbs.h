// The verbs that need no server. Each function adds its verbs to the command line; the one that is chosen
// sets the action, which gives the exit code and throws Failure.
#pragma once

#include <functional>

namespace CLI {
class App;
}

using Action = std::function<int()>;

void add_envelope_verbs(CLI::App& app, Action& action); // seal, open
void add_settings_verbs(CLI::App& app, Action& action); // settings
void add_log_verbs(CLI::App& app, Action& action);      // explain, log
void add_perf_verb(CLI::App& app, Action& action);      // perf
void add_where_verb(CLI::App& app, Action& action);     // where
void add_doctor_verb(CLI::App& app, Action& action);    // doctor
