// What is put right when a signal ends the process in the middle of the work: a file that is not finished is
// removed, and a terminal that was made quiet echoes again.
//
// The work itself need not ask: the handler does all of it and ends the process with ExitSignal and the
// signal's number. One per process, for verbs that talk to no server (those have the watchdog).
#pragma once

#include <csignal>
#include <string>
#include <termios.h>

namespace interruption {

// From now on SIGINT, SIGTERM, SIGHUP and SIGQUIT are caught; what is ignored from outside stays ignored.
void start();

// Signals wait while one of these lives: around a change and its being told here.
class Hold {
public:
    Hold();
    ~Hold();
    Hold(Hold const&) = delete;
    Hold& operator=(Hold const&) = delete;

    sigset_t const& before() const { return before_; }

private:
    sigset_t before_;
};

// The file to remove. Empty: none. False, and none, when the path is too long to be kept.
bool set_file(std::string const& path);

// The terminal `fd`, quiet from now on: it is set to `quiet`, and back to `before` by clear_terminal() or
// when a signal ends the process. When the process is stopped (Ctrl-Z) it echoes meanwhile, and `prompt` is
// shown again when it goes on. False when the terminal cannot be set.
bool set_terminal(int fd, termios const& before, termios const& quiet, char const* prompt);
void clear_terminal();

} // namespace interruption
