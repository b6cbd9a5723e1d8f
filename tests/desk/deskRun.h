// The display of a test, and running the main loop for as long as it takes.
#pragma once

#include <chrono>
#include <functional>
#include <glibmm/main.h>

#include "presenter.h"
#include "toolkit.h"

inline bool hasDisplay() {
    static bool const isOpen = startToolkit();
    return isOpen;
}

inline void runFor(Milliseconds time) {
    auto const end = std::chrono::steady_clock::now() + time;
    auto wake = Glib::signal_timeout().connect([] { return true; }, 5);
    while (std::chrono::steady_clock::now() < end) {
        Glib::MainContext::get_default()->iteration(true);
    }
    wake.disconnect();
}

// False when it has not come true after ten seconds.
inline bool runUntil(std::function<bool()> const& done) {
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done() && std::chrono::steady_clock::now() < end) {
        runFor(Milliseconds(5));
    }
    return done();
}
