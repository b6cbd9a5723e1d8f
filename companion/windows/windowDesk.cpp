#include "windowDesk.h"

#include <glibmm/main.h>
#include <utility>

#include "errorWindow.h"
#include "messageWindow.h"
#include "widgets.h"

WindowDesk::WindowDesk(Answered answered, std::vector<std::string> folders)
    : answered_(std::move(answered)), texts_(std::move(folders)), wait_(texts_) {
    loadStyle();
}

WindowDesk::~WindowDesk() { clearing_.disconnect(); }

void WindowDesk::open(DialogId id, Dialog const& dialog) {
    auto const answered = [this, id](long button) { answer(id, button); };
    close(id);
    auto& window = windows_[id];
    if (dialog.kind == Dialog::Kind::Error) {
        window = std::make_unique<ErrorWindow>(dialog, texts_, answered);
    } else {
        window = std::make_unique<MessageWindow>(dialog, texts_, answered);
    }
    window->present();
}

void WindowDesk::close(DialogId id) {
    auto const entry = windows_.find(id);
    if (entry != windows_.end()) {
        discard(std::move(entry->second));
        windows_.erase(entry);
    }
}

void WindowDesk::setWaiting(long count, std::string const& locale, bool atOnce) {
    wait_.setWaiting(count, locale, atOnce);
}

void WindowDesk::answer(DialogId id, long button) {
    close(id);
    answered_(id, button);
}

void WindowDesk::discard(std::unique_ptr<DialogWindow> window) {
    window->dismiss();
    discarded_.push_back(std::move(window));
    if (!clearing_.connected()) {
        clearing_ = Glib::signal_idle().connect(
            [this] {
                discarded_.clear();
                return false;
            },
            Glib::PRIORITY_DEFAULT);
    }
}
