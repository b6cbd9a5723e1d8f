#include "observer.h"

#include "attributes.h"
#include "terminal.h"

#include <algorithm>

namespace {

// What follows `start` in `message`, if it starts so.
bool after(std::string_view message, std::string_view start, std::string_view& rest) {
    if (!message.starts_with(start)) {
        return false;
    }
    rest = message.substr(start.size());
    return true;
}

} // namespace

Observer::Observer() { QMXBase::setLogSink(sink, this); }

Observer::~Observer() { QMXBase::setLogSink(nullptr, nullptr); }

void Observer::reset() {
    bad_value.clear();
    lock_refused = false;
    longest_request = 0;
}

void Observer::set_phase(Phase next) {
    phase = next;
    if (on_phase) {
        on_phase(next);
    }
}

void Observer::sink(QMXLogLevel level, TStr const& message, void* context) {
    auto* const self = static_cast<Observer*>(context);
    std::string const text = bytes_of(message);
    if (level == QMXLogDebug) {
        self->debug(text);
    } else {
        self->error(text);
    }
}

void Observer::debug(std::string_view message) {
    std::string_view line;
    if (after(message, "Packet Marshalled:", line)) {
        longest_request = std::max(longest_request, line.size() + 1);
        if (trace) {
            tell_marked(Tint::Out, ">", one_line(line));
        }
    } else if (after(message, "Packet Unmarshalling:", line)) {
        if (trace) {
            tell_marked(Tint::In, "<", one_line(line));
        }
    } else if (phase == Phase::Waiting) {
        // The first words behind the lock.
        if (message == "server is not running. Attempting to start an instance" ||
            message == "Creating write endpoint") {
            set_phase(Phase::Held);
        }
    } else if (message.starts_with("executing process: ")) {
        set_phase(Phase::Starting);
    } else if (message == "server is running") {
        set_phase(Phase::Held);
    }
}

void Observer::error(std::string_view message) {
    std::string_view const text =
        message.substr(std::min(message.size(), std::string_view("Error  ").size()));
    std::string_view value;
    if (after(text, "could not unmarshal data value ", value)) {
        // These three letters mean null, and are reported all the same.
        if (value.empty() || std::string_view("abg").find(value[0]) == std::string_view::npos) {
            bad_value = bad_value.empty() ? text : bad_value;
        }
    } else if (text.starts_with("Could not decode escape") ||
               text.starts_with("UTF-8 character out of range")) {
        bad_value = bad_value.empty() ? text : bad_value;
    } else if (text.starts_with("Cannot lock server")) {
        lock_refused = true;
    } else if (message.find("Could not create fifo at ") != std::string_view::npos && on_fatal) {
        on_fatal(std::string(message.substr(message.find("Could not create fifo at "))));
    }
}
