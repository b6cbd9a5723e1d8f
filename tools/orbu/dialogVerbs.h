// The verbs that put dialogs into the hands of a shell script. Each function adds its verbs to the command
// line; the one that is chosen sets the action, which gives the exit code and throws Failure.
#pragma once

#include "serviceVerbs.h"
#include "verbs.h"

#include <chrono>
#include <string>
#include <vector>

// For reaching the companion; how long a dialog may stand is another matter.
constexpr auto kConnectLimit = std::chrono::seconds(30);

// error, ask, wait. `command` is what stands behind "--".
void add_dialog_verbs(CLI::App& app, Options& options, std::vector<std::string> const& command,
                      Action& action);
void add_gallery_verb(CLI::App& app, Action& action);

// Shows the wait dialog while the command runs, and gives the command's exit code.
int wait_for_command(Options const& options, std::string const& locale,
                     std::vector<std::string> const& command);
