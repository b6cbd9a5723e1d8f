// A program that orbu runs for the user.
#pragma once

#include <string>
#include <vector>

// Runs the program as a shell would, by its name and arguments, and waits for its end. Gives its exit code,
// 128 and the signal's number when a signal ended it, 127 when there is no such program and 126 when it
// cannot be run, which is told. `prepare` runs in the new process first.
//
// Meanwhile SIGINT, SIGTERM, SIGHUP and SIGQUIT are the program's: one that somebody sends to orbu is handed
// on. One that the terminal sends has reached the program already.
int run_command(std::vector<std::string> const& words, void (*prepare)() = nullptr);
