// The wait dialog. It comes when a wait has lasted for a while, stays long enough to be read, and cannot be
// closed by hand.
#pragma once

#include <chrono>
#include <memory>
#include <sigc++/connection.h>
#include <string>

#include "presenter.h"
#include "texts.h"

namespace Gtk {
class Window;
}

class WaitWindow {
public:
    static constexpr Milliseconds kDelay{300};
    static constexpr Milliseconds kMinimum{700};

    explicit WaitWindow(Texts& texts);
    WaitWindow(WaitWindow const&) = delete;
    WaitWindow& operator=(WaitWindow const&) = delete;
    ~WaitWindow();

    // The number of waits under way, all of which share the window. `atOnce`: see WindowDesk.
    void setWaiting(long count, std::string const& locale, bool atOnce);

private:
    using Clock = std::chrono::steady_clock;

    void show();
    void hide();

    Texts& texts_;
    std::string locale_;
    std::unique_ptr<Gtk::Window> window_; // while it is on the screen
    Clock::time_point since_;
    sigc::connection showing_;
    sigc::connection hiding_;
};

// The window alone, which is what a picture of it is made from.
std::unique_ptr<Gtk::Window> makeWaitWindow(Texts& texts, std::string const& locale);
