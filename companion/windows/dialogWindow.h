// A window with an icon, a headline and buttons: what all dialogs that are answered have in common.
//
//     [icon]  headline
//             whatever the kind of dialog has to say besides
//                                                 [button] [button]
//
// Texts are plain: no markup, no mnemonics. They are cut at a bound that is far beyond what anybody reads,
// wrap, and scroll where they would make the window larger than the screen.
#pragma once

#include <functional>
#include <gtkmm/box.h>
#include <gtkmm/label.h>
#include <gtkmm/window.h>
#include <string>
#include <vector>

#include "presenter.h"
#include "texts.h"

class DialogWindow : public Gtk::Window {
public:
    // Called once, with the index of the button, from inside the window: it must not be deleted right then.
    using Answered = std::function<void(long button)>;

    // `words` of the buttons, at least one. The window appears with present().
    DialogWindow(Dialog const& dialog, std::vector<std::string> const& words, Texts& texts,
                 Answered answered);

    // Takes the window off the screen; nothing is answered any more.
    void dismiss();

protected:
    Gtk::Box& column() { return column_; } // below the headline
    int columnWidth() const { return columnWidth_; }
    std::string const& locale() const { return locale_; }
    // The text for Ctrl+C, when nothing is selected.
    virtual std::string wholeMessage() const { return title_; }

private:
    void addHeadline(Dialog const& dialog);
    void addIcon(Dialog const& dialog, Texts& texts);
    void addButtons(std::vector<std::string> const& words, long focus);
    void addKeys();
    void answer(long button);
    void copy();

    Answered answered_;
    std::string locale_;
    std::string title_;
    int columnWidth_ = 0;
    Gtk::Box content_{Gtk::Orientation::VERTICAL};
    Gtk::Box top_{Gtk::Orientation::HORIZONTAL};
    Gtk::Box column_{Gtk::Orientation::VERTICAL};
    Gtk::Label* headline_ = nullptr; // managed by its parent
    long lastButton_ = 0;
};
