// Listens to what the library logs: the lines on the wire for --trace, where a connection attempt stands, and
// values that could not be read.
#pragma once

#include "qmx/qmxBase.h"

#include <functional>
#include <string>

// Where connect() stands, as far as the lock of the prefix matters.
enum class Phase {
    Waiting,  // for the lock
    Held,     // the lock is held
    Starting, // the server comes up; the lock is given back and taken again in turn
    Open,     // connected, or no attempt under way
};

class Observer {
public:
    // Listens as long as it lives; one at a time.
    Observer();
    Observer(Observer const&) = delete;
    Observer& operator=(Observer const&) = delete;
    ~Observer();

    bool trace = false; // tell each line on standard error: "> " out, "< " in
    Phase phase = Phase::Open;
    std::function<void(Phase)> on_phase;
    std::function<void(std::string const&)> on_fatal; // an error after which connect() would go on trying

    // Since the last reset().
    std::string bad_value;      // the first value that could not be read, as it was reported
    bool lock_refused = false;  // the lock was not had in time
    size_t longest_request = 0; // bytes of the longest line that went out, with its end
    void reset();

    void set_phase(Phase next);

private:
    static void sink(QMXLogLevel level, TStr const& message, void* context);
    void debug(std::string_view message);
    void error(std::string_view message);
};
