// What QMX and its module of windows (PlugIns/windows.so) say to each other. QMX itself links no toolkit: a
// thread of its own loads the module and runs it, while the server goes on serving.
//
// The window thread uses the toolkit and what is declared here, and nothing of the library: strings, memory
// and messages of the library count without atomics and belong to the server's thread.
#pragma once

#include <string>
#include <vector>

#include "presenter.h"

struct WindowCommand {
    enum class Kind { Open, Close, Wait, Quit };

    Kind kind = Kind::Quit;
    DialogId id = 0;     // Open, Close
    Dialog dialog;       // Open
    long waits = 0;      // Wait: how many are under way
    std::string locale;  // Wait
    bool atOnce = false; // Wait: the client is gone
};

class WindowBridge {
public:
    // Where the texts are (see resourceFolders.h).
    virtual std::vector<std::string> const& folders() const = 0;
    // Becomes readable when take() has something.
    virtual int descriptor() const = 0;
    // The commands that are due, in order.
    virtual std::vector<WindowCommand> take() = 0;
    // The display is open: dialogs are shown from here on.
    virtual void showing() = 0;
    // The answer to a dialog that was opened.
    virtual void answered(DialogId id, long button) = 0;

protected:
    ~WindowBridge() = default;
};

// What the module exports. Opens the display and serves the bridge until it is told to quit; gives whether
// there was a display. Without one no command has been taken.
#define QMX_WINDOWS_RUN "qmx_windows_run"
using WindowsRun = int (*)(WindowBridge& bridge);
