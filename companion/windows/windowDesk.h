// The windows that stand on the screen. All of it belongs to the thread that runs the main loop.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <sigc++/connection.h>
#include <string>
#include <vector>

#include "appearance.h"
#include "dialogWindow.h"
#include "presenter.h"
#include "texts.h"
#include "waitWindow.h"

class WindowDesk {
public:
    // Called from the main loop, once for a dialog; it may open and close dialogs.
    using Answered = std::function<void(DialogId, long button)>;

    // The toolkit is initialised (toolkit.h). `folders` as for Texts: resourceFolders() gives them, which is
    // not for this thread to ask.
    explicit WindowDesk(Answered answered, std::vector<std::string> folders = {});
    WindowDesk(WindowDesk const&) = delete;
    WindowDesk& operator=(WindowDesk const&) = delete;
    // Takes all windows away; nothing is answered.
    ~WindowDesk();

    // Shows a dialog. Windows are not modal, so that no client waits for the dialog of another.
    void open(DialogId id, Dialog const& dialog);
    // Takes a dialog away without an answer. An unknown id is ignored.
    void close(DialogId id);
    // The number of waits under way. `atOnce` takes the wait dialog away without its minimum time: nobody is
    // left who waits.
    void setWaiting(long count, std::string const& locale, bool atOnce = false);

private:
    void answer(DialogId id, long button);
    void discard(std::unique_ptr<DialogWindow> window);

    Answered answered_;
    Texts texts_;
    Appearance appearance_;
    WaitWindow wait_;
    std::map<DialogId, std::unique_ptr<DialogWindow>> windows_;
    std::vector<std::unique_ptr<DialogWindow>> discarded_; // until nothing runs inside them any more
    sigc::connection clearing_;
};
