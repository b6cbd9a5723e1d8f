// What orbu ends with. Interrupted by a signal it ends with 128 and the signal's number: 130 for Ctrl-C.
#pragma once

#include <stdexcept>
#include <string>

enum ExitCode {
    ExitDone = 0,
    ExitNegative = 1,   // answered, and the answer is no
    ExitUsage = 2,      // the command line
    ExitNoServer = 3,   // no server is there and none could be started
    ExitTimeLimit = 4,  // no answer within --timeout
    ExitUnanswered = 5, // a dialog that nobody answered in time
    ExitFailed = 6,     // the server refused, or is gone; or the system did not let us
    ExitBadData = 7,    // a value that is given, recorded or answered cannot be read
    ExitNoDisplay = 8,  // nobody would see the dialog: no display and no terminal
    ExitSignal = 128,
};

// Ends a verb: main() tells the message on standard error and exits with the code.
class Failure : public std::runtime_error {
public:
    Failure(int code, std::string const& message) : std::runtime_error(message), code_(code) {}
    int code() const { return code_; }

private:
    int code_;
};
