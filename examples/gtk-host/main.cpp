// A host with a window of its own. A wheel turns in it, and goes on turning while a dialog stands in the
// companion server: during the wait the library calls pumpEvents(), which lets GTK's main loop run once
// around.
//
// usage: gtk_host [--script]    with --script it shows its dialogs by itself and ends
#include "../runtime.h"

#include "orbuint/OrbuIntWaitDialog.h"
#include "orbuint/orbuintHost.h"
#include "orbuint/orbuintResHandler.h"
#include "orbuint/orbuintutil.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <glibmm.h>
#include <gtkmm.h>

namespace {

// What is pending, without waiting. There is a limit, as something is pending all the time where drawing a
// picture takes longer than a picture lasts; and the answer of a dialog is looked for in between.
void pumpEvents(void*) {
    auto const loop = Glib::MainContext::get_default();
    for (int left = 20; left > 0 && loop->iteration(false); --left) {
    }
}

class HostWindow : public Gtk::Window {
public:
    explicit HostWindow(bool script) {
        set_title("gtk_host");
        set_default_size(320, 360);
        box_.set_margin(12);
        wheel_.set_expand(true);
        wheel_.set_draw_func(sigc::mem_fun(*this, &HostWindow::draw));
        wheel_.add_tick_callback([this](Glib::RefPtr<Gdk::FrameClock> const&) {
            ++frames_;
            wheel_.queue_draw();
            return true;
        });
        addButton(error_, "Error", &HostWindow::showError);
        addButton(question_, "Question", &HostWindow::ask);
        addButton(work_, "Work for three seconds", &HostWindow::work);
        box_.prepend(wheel_);
        set_child(box_);
        // Not while a dialog stands: what waits for it is a call of ours.
        signal_close_request().connect([this] { return !box_.get_sensitive(); }, false);
        if (script) {
            Glib::signal_timeout().connect_once(sigc::mem_fun(*this, &HostWindow::playScript), 500);
        }
    }

private:
    void addButton(Gtk::Button& button, char const* label, void (HostWindow::*action)()) {
        button.set_label(label);
        button.signal_clicked().connect([this, action] { whileDialog(action); });
        box_.append(button);
    }

    // One dialog at a time: the window lives on during the wait, and its buttons must not open another.
    void whileDialog(void (HostWindow::*action)()) {
        box_.set_sensitive(false);
        long const before = frames_;
        (this->*action)();
        std::printf("frames drawn meanwhile: %ld\n", frames_ - before);
        box_.set_sensitive(true);
    }

    static TStr text(char const* id) { return COrbuIntResHandler::instance()->getString(id); }

    void showError() {
        bool const shown = OrbuIntUtil::showErrorDialog(text("caption_error"), text("sample_title"),
                                                        text("sample_detail"), 1);
        std::printf("error dialog: %s\n", shown ? "closed by the user" : "could not be shown");
    }

    void ask() {
        std::printf("message box: button %ld\n",
                    OrbuIntUtil::showMessageBox(text("caption_question"), text("sample_title"), 2, "retry",
                                                "cancel", 1));
    }

    // Work in pieces, with a look at the window in between. The wait dialog itself waits for nothing.
    void work() {
        COrbuIntWaitDialog wait(false);
        int const shown = wait.show();
        for (int piece = 0; piece < 300; ++piece) {
            Glib::usleep(10000);
            pumpEvents(nullptr);
        }
        std::printf("wait dialog: show gives %d, close gives %d\n", shown, wait.close());
    }

    void playScript() {
        whileDialog(&HostWindow::work);
        whileDialog(&HostWindow::showError);
        whileDialog(&HostWindow::ask);
        close();
    }

    void draw(Cairo::RefPtr<Cairo::Context> const& picture, int width, int height) const {
        double const turn = static_cast<double>(g_get_monotonic_time() % 2000000) / 2000000 * 2 * M_PI;
        picture->translate(width / 2.0, height / 2.0);
        picture->set_line_width(12);
        picture->set_source_rgb(0.2, 0.4, 0.8);
        picture->arc(0, 0, std::min(width, height) / 3.0, turn, turn + 1.5 * M_PI);
        picture->stroke();
    }

    long frames_ = 0;
    Gtk::Box box_{Gtk::Orientation::VERTICAL, 6};
    Gtk::DrawingArea wheel_;
    Gtk::Button error_;
    Gtk::Button question_;
    Gtk::Button work_;
};

} // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    useRuntimeOfLibrary();
    bool const script = argc > 1 && std::strcmp(argv[1], "--script") == 0;
    COrbuIntHost::initialize("en_US", nullptr);
    COrbuIntHost::instance()->setAppProcessEventsCallback(pumpEvents, nullptr);
    int const result =
        Gtk::Application::create("org.example.OrbuHost")->make_window_and_run<HostWindow>(1, argv, script);
    COrbuIntHost::shutdown();
    return result;
}
