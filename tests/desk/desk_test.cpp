#include <algorithm>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>
#include <gtkmm/button.h>
#include <gtkmm/expander.h>
#include <gtkmm/label.h>
#include <gtkmm/window.h>
#include <map>
#include <memory>
#include <vector>

#include "deskRun.h"
#include "widgets.h"
#include "windowDesk.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

// All widgets of a type in a window, in the order of the tree.
template <class T>
std::vector<T*> all(Gtk::Widget& widget) {
    std::vector<T*> found;
    if (auto* const fits = dynamic_cast<T*>(&widget)) {
        found.push_back(fits);
    }
    for (auto* child = widget.get_first_child(); child; child = child->get_next_sibling()) {
        auto const inner = all<T>(*child);
        found.insert(found.end(), inner.begin(), inner.end());
    }
    return found;
}

std::string repeated(std::string const& text, int times) {
    std::string all;
    for (; times > 0; --times) {
        all += text;
    }
    return all;
}

std::vector<Gtk::Window*> shownWindows() {
    std::vector<Gtk::Window*> windows;
    for (auto* const window : Gtk::Window::list_toplevels()) {
        if (window->get_mapped()) {
            windows.push_back(window);
        }
    }
    return windows;
}

Dialog messageBox(std::vector<std::string> buttons, long focus = 0) {
    Dialog dialog;
    dialog.kind = Dialog::Kind::MessageBox;
    dialog.title = "Which one?";
    dialog.buttons = std::move(buttons);
    dialog.focus = focus;
    return dialog;
}

void press(Gtk::Button& button) { g_signal_emit_by_name(button.gobj(), "clicked"); }

class DeskTest : public testing::Test {
protected:
    void SetUp() override {
        if (!hasDisplay()) {
            GTEST_SKIP() << "no display";
        }
        desk_ = std::make_unique<WindowDesk>([this](DialogId id, long button) {
            answers_[id].push_back(button);
            if (then_) {
                then_();
            }
        });
    }
    void TearDown() override {
        desk_.reset();
        EXPECT_TRUE(shownWindows().empty());
    }

    Gtk::Window& open(DialogId id, Dialog const& dialog) {
        auto const before = shownWindows();
        desk_->open(id, dialog);
        auto const after = shownWindows();
        EXPECT_EQ(after.size(), before.size() + 1);
        runFor(50ms);
        return **std::find_if(after.begin(), after.end(), [&before](Gtk::Window* window) {
            return std::find(before.begin(), before.end(), window) == before.end();
        });
    }

    std::unique_ptr<WindowDesk> desk_;
    std::map<DialogId, std::vector<long>> answers_;
    std::function<void()> then_;
};

using Buttons = std::vector<long>;

TEST_F(DeskTest, AWindowAnswersOnceWithItsButton) {
    for (long const pressed : {0, 1, 2}) {
        Gtk::Window& window = open(7, messageBox({"_One", "<b>Two</b>", ""}, 1));
        auto const buttons = all<Gtk::Button>(window);
        ASSERT_EQ(buttons.size(), 3U);
        EXPECT_EQ(window.get_focus(), buttons[1]);
        EXPECT_EQ(all<Gtk::Label>(*buttons[0])[0]->get_text(), "_One");
        EXPECT_EQ(all<Gtk::Label>(*buttons[1])[0]->get_text(), "<b>Two</b>");
        EXPECT_EQ(all<Gtk::Label>(*buttons[2])[0]->get_text(), "3");
        Gtk::Button* const button = buttons[static_cast<size_t>(pressed)];
        press(*button);
        press(*button);
        window.close();
        runFor(50ms);
        EXPECT_EQ(answers_[7], Buttons{pressed});
        EXPECT_TRUE(shownWindows().empty());
        answers_.clear();
    }
}

TEST_F(DeskTest, TheCloseButtonIsTheLastButton) {
    open(1, messageBox({"Yes", "No", "Cancel"})).close();
    open(2, messageBox({})).close();
    open(3, Dialog()).close();
    runFor(50ms);
    EXPECT_EQ(answers_, (std::map<DialogId, Buttons>{{1, {2}}, {2, {0}}, {3, {0}}}));
}

TEST_F(DeskTest, AWindowThatIsTakenAwayDoesNotAnswer) {
    open(1, messageBox({"Yes"}));
    Gtk::Window& other = open(2, messageBox({"Yes", "No"}));
    // An answer may take other dialogs away, and open new ones.
    then_ = [this] {
        desk_->close(1);
        desk_->open(3, messageBox({"Yes"}));
    };
    other.close();
    desk_->close(99);
    EXPECT_TRUE(runUntil([&] { return shownWindows().size() == 1; }));
    EXPECT_EQ(answers_, (std::map<DialogId, Buttons>{{2, {1}}}));
    desk_.reset();
    EXPECT_EQ(answers_.size(), 1U);
}

TEST_F(DeskTest, NothingMakesAWindowLargerThanTheScreen) {
    std::string const large(3 << 20, 'x');
    std::string const lines = repeated("a line\n", 20000);
    std::string const joined = repeated("\U0001F468\u200D", 2000);
    struct {
        char const* name;
        std::string title;
        std::string detail;
        std::vector<std::string> buttons;
    } const cases[] = {
        {"an endless word", large, "", {"OK"}},
        {"tabs", std::string(3000, '\t'), "", {"OK"}},
        {"blanks", std::string(4000, ' '), "", {"OK"}},
        {"one endless sign", joined, "", {joined, joined}},
        {"many lines", lines, "", std::vector<std::string>(16, "A label of some length")},
        {"long labels", "A question", "", std::vector<std::string>(16, std::string(300, 'w') + " " + large)},
        {"no text", std::string(1 << 20, '\xe4'), "", {"\xff", "", "\n"}},
        {"large details", "An error", large, {}},
        {"many details", lines, lines, {}},
        {"broken details", "An error", std::string(1 << 20, '\xe4'), {}},
    };
    Room const room = roomOnScreen();
    for (auto const& each : cases) {
        Dialog dialog;
        dialog.icon = 1;
        dialog.caption = large;
        dialog.kind = each.buttons.empty() ? Dialog::Kind::Error : Dialog::Kind::MessageBox;
        dialog.title = each.title;
        dialog.detail = each.detail;
        dialog.buttons = each.buttons;
        auto const start = Clock::now();
        Gtk::Window& window = open(1, dialog);
        for (Gtk::Expander* const expander : all<Gtk::Expander>(window)) {
            expander->set_expanded(true);
        }
        runFor(200ms);
        auto const took = std::chrono::duration_cast<Milliseconds>(Clock::now() - start);
        EXPECT_LE(window.get_width(), room.width) << each.name;
        EXPECT_LE(window.get_height(), room.height) << each.name;
        EXPECT_LT(took, 5s) << each.name;
        EXPECT_TRUE(window.get_focus() != nullptr) << each.name;
        desk_->close(1);
        runFor(20ms);
    }
}

TEST_F(DeskTest, DetailsAreWholeInTheClipboardAndShrinkAgain) {
    Dialog error;
    error.title = "An error";
    error.detail = std::string(200000, 'y') + "\xff";
    error.locale = "ar_EG";
    Gtk::Window& window = open(1, error);
    int const height = window.get_height();
    Gtk::Expander* const expander = all<Gtk::Expander>(window).at(0);
    EXPECT_EQ(expander->get_direction(), Gtk::TextDirection::RTL);
    expander->set_expanded(true);
    EXPECT_TRUE(runUntil([&] { return window.get_height() > height + 40; }));
    press(*all<Gtk::Button>(*expander).at(0));
    std::string copied;
    EXPECT_TRUE(runUntil([&] { return window.get_clipboard()->is_local(); }));
    window.get_clipboard()->read_text_async([&](Glib::RefPtr<Gio::AsyncResult>& result) {
        copied = window.get_clipboard()->read_text_finish(result);
    });
    EXPECT_TRUE(runUntil([&] { return !copied.empty(); }));
    EXPECT_TRUE(copied == std::string(200000, 'y') + "\uFFFD");
    expander->set_expanded(false);
    EXPECT_TRUE(runUntil([&] { return window.get_height() == height; }));
}

TEST_F(DeskTest, TheWaitDialogComesLateAndStaysForAWhile) {
    auto const shown = [] { return !shownWindows().empty(); };
    desk_->setWaiting(1, "de_DE", false);
    desk_->setWaiting(2, "de_DE", false);
    desk_->setWaiting(0, "de_DE", false);
    runFor(WaitWindow::kDelay + 100ms);
    EXPECT_FALSE(shown()) << "a short wait is not shown";

    auto start = Clock::now();
    desk_->setWaiting(1, "de_DE", false);
    desk_->setWaiting(2, "de_DE", false);
    EXPECT_TRUE(runUntil(shown));
    EXPECT_GE(Clock::now() - start, WaitWindow::kDelay);
    shownWindows()[0]->close();
    desk_->setWaiting(1, "de_DE", false);
    desk_->setWaiting(0, "de_DE", false);
    runFor(100ms);
    EXPECT_TRUE(shown()) << "not to be closed by hand, and not gone before it can be read";
    desk_->setWaiting(1, "de_DE", false);
    runFor(WaitWindow::kMinimum);
    EXPECT_TRUE(shown()) << "a new wait keeps it";
    start = Clock::now();
    desk_->setWaiting(0, "de_DE", false);
    EXPECT_TRUE(runUntil([&] { return !shown(); }));
    EXPECT_LT(Clock::now() - start, 500ms);

    desk_->setWaiting(1, "de_DE", false);
    EXPECT_TRUE(runUntil(shown));
    desk_->setWaiting(0, "de_DE", true);
    EXPECT_FALSE(shown()) << "nobody is left who waits";
}

} // namespace
