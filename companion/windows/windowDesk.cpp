#include "windowDesk.h"

#include <utility>

WindowDesk::WindowDesk(Answered answered, std::vector<std::string> folders)
    : answered_(std::move(answered)), folders_(std::move(folders)) {}

WindowDesk::~WindowDesk() = default;

void WindowDesk::open(DialogId id, Dialog const& dialog) {
    auto window = std::make_unique<Gtk::Window>();
    auto* const box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, 12);
    box->append(*Gtk::make_managed<Gtk::Label>(dialog.title));
    std::vector<std::string> const labels =
        dialog.buttons.empty() ? std::vector<std::string>{"OK"} : dialog.buttons;
    for (size_t i = 0; i < labels.size(); ++i) {
        auto* const button = Gtk::make_managed<Gtk::Button>(labels[i]);
        button->signal_clicked().connect([this, id, i] {
            answered_(id, static_cast<long>(i));
            Glib::signal_idle().connect_once([this, id] { close(id); });
        });
        box->append(*button);
    }
    window->set_title(dialog.caption);
    window->set_child(*box);
    window->present();
    windows_[id] = std::move(window);
}

void WindowDesk::close(DialogId id) { windows_.erase(id); }

void WindowDesk::setWaiting(long count, std::string const&, bool) {
    if (count == 0) {
        wait_.reset();
    } else if (!wait_) {
        wait_ = std::make_unique<Gtk::Window>();
        wait_->present();
    }
}
