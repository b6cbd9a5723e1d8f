// What shows the dialogs. The server hands requests over and goes on serving; answers come back when they are
// due.
//
// All calls come from the server's thread. Its loop waits for the presenter: prepare() says for what and how
// long, dispatch() does what is due then. open(), close() and the rest return at once and never answer by
// themselves.
#pragma once

#include <chrono>
#include <poll.h>
#include <string>
#include <vector>

using DialogId = unsigned long;
using Milliseconds = std::chrono::milliseconds;

// Texts are UTF-8 and plain: no markup.
struct Dialog {
    enum class Kind { Error, MessageBox };

    Kind kind = Kind::Error;
    std::string locale;
    std::string caption;
    std::string title;
    std::string detail;               // empty: there is none
    long icon = 0;                    // handed on as the host gave it
    std::vector<std::string> buttons; // of a message box, in order
    long focus = 0;                   // index of the button that has the focus
};

struct Answer {
    DialogId id;
    long button; // index of the button that was pressed
};

class Presenter {
public:
    virtual ~Presenter() = default;

    // The server has its role: what takes long begins here, and on the side.
    virtual void start() {}
    // Takes everything away. False: a part of it cannot be ended, so the process must leave by _exit(2).
    virtual bool stop() { return true; }
    // "windows", "rules", or "none" when nobody sees the dialogs; empty while that is not known yet, and when
    // it has failed.
    virtual std::string kind() const = 0;
    // Whether it can show nothing any more; then the server ends.
    virtual bool hasFailed() const { return false; }

    // Shows a dialog; its answer comes out of a later dispatch(), unless close() comes first.
    virtual void open(DialogId id, Dialog const& dialog) = 0;
    // Takes a dialog away: nobody is left to answer to. An unknown id is ignored.
    virtual void close(DialogId id) = 0;
    // Shows the wait dialog when `count`, the number of waits under way, leaves 0, and takes it away when it
    // is 0 again; `atOnce` when it is because the client has gone.
    virtual void setWaiting(long count, std::string const& locale, bool atOnce) = 0;

    // Adds the descriptors to wait for, and lowers `timeout` (negative: for ever) to the time that is left.
    virtual void prepare(std::vector<pollfd>& descriptors, Milliseconds& timeout) = 0;
    // Does what is due and returns the answers that were given. Called in every round of the loop.
    virtual std::vector<Answer> dispatch() = 0;
};
