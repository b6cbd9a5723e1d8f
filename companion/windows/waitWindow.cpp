#include "waitWindow.h"

#include <algorithm>
#include <glibmm/main.h>
#include <gtkmm/box.h>
#include <gtkmm/spinner.h>
#include <gtkmm/window.h>

#include "widgets.h"

namespace {

constexpr int kSpacing = 18;
constexpr int kCharacters = 40;
constexpr int kLeastWidth = 260;

} // namespace

std::unique_ptr<Gtk::Window> makeWaitWindow(Texts& texts, std::string const& locale) {
    auto window = std::make_unique<Gtk::Window>();
    window->set_title(texts.get(locale, "caption_wait"));
    window->add_css_class("dialog-window");
    window->set_resizable(false);
    window->set_deletable(false);
    window->signal_close_request().connect([] { return true; }, false);

    auto* const spinner = Gtk::make_managed<Gtk::Spinner>();
    spinner->set_spinning();
    spinner->set_valign(Gtk::Align::CENTER);
    auto* const label = makeLabel(texts.get(locale, "please_wait"), locale);
    label->set_max_width_chars(kCharacters);
    label->set_hexpand();
    setAccessibleName(*spinner, label->get_text());

    auto* const content = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, kSpacing);
    content->add_css_class("content");
    content->set_size_request(std::min(kLeastWidth, roomOnScreen().width), -1);
    content->append(*spinner);
    content->append(*label);
    window->set_child(*content);

    setAccessibleRole(*window, Gtk::Accessible::Role::DIALOG);
    setAccessibleName(*window, window->get_title());
    setAccessibleDescription(*window, label->get_text());
    setDescribedBy(*window, *label);
    setDirectionOfAll(*window, directionOf(locale));
    return window;
}

WaitWindow::WaitWindow(Texts& texts) : texts_(texts) {}

WaitWindow::~WaitWindow() {
    showing_.disconnect();
    hiding_.disconnect();
}

void WaitWindow::setWaiting(long count, std::string const& locale, bool atOnce) {
    if (count > 0) {
        locale_ = locale;
        hiding_.disconnect();
        if (!window_ && !showing_.connected()) {
            showing_ = Glib::signal_timeout().connect(
                [this] {
                    show();
                    return false;
                },
                static_cast<unsigned>(kDelay.count()));
        }
        return;
    }
    showing_.disconnect();
    auto const left = std::chrono::ceil<Milliseconds>(since_ + kMinimum - Clock::now());
    if (atOnce || left <= Milliseconds::zero()) {
        hide();
    } else if (window_ && !hiding_.connected()) {
        hiding_ = Glib::signal_timeout().connect(
            [this] {
                hide();
                return false;
            },
            static_cast<unsigned>(left.count()));
    }
}

void WaitWindow::show() {
    window_ = makeWaitWindow(texts_, locale_);
    window_->set_visible(true);
    since_ = Clock::now();
}

void WaitWindow::hide() {
    hiding_.disconnect();
    window_.reset();
}
