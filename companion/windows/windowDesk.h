// The windows on the screen. Everything here belongs to the window thread, and GTK is initialised.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <gtkmm.h>

#include "presenter.h"

class WindowDesk {
public:
    using Answered = std::function<void(DialogId id, long button)>;

    // `answered` is called once for each dialog, from the main loop.
    WindowDesk(Answered answered, std::vector<std::string> folders);
    WindowDesk(WindowDesk const&) = delete;
    WindowDesk& operator=(WindowDesk const&) = delete;
    // Takes all windows away.
    ~WindowDesk();

    void open(DialogId id, Dialog const& dialog);
    void close(DialogId id);
    // `atOnce`: no window stays for the sake of a calm picture.
    void setWaiting(long count, std::string const& locale, bool atOnce);

private:
    Answered answered_;
    std::vector<std::string> folders_;
    std::map<DialogId, std::unique_ptr<Gtk::Window>> windows_;
    std::unique_ptr<Gtk::Window> wait_;
};
