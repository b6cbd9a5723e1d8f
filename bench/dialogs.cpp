// How long somebody waits for an error dialog: from the call to the mapped window, with a companion that has
// to be started and with one that runs, beside zenity, in turns on one display. scripts/bench dialogs runs
// it.
//
// usage: orbu_bench_dialogs [--strict] [ROUNDS]      exit code 1: a target was not met (with --strict)
#include "../examples/runtime.h"

#include "orbuint/orbuintHost.h"
#include "orbuint/orbuintutil.h"
#include "qmx/qmxPipeNamedConduit.h"

#include <X11/Xatom.h>
#include <X11/Xlib.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <future>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kLimitMilliseconds = 60000;
constexpr int kSmallestWindow = 100; // toolkits have tiny ones for themselves

[[noreturn]] void fail(const char* what) {
    std::fprintf(stderr, "orbu_bench_dialogs: %s\n", what);
    std::_Exit(2);
}

// Somebody before the screen, who sees each window as the server tells of it and closes it at once.
class Watcher {
public:
    Watcher() : mDisplay(XOpenDisplay(nullptr)) {
        if (mDisplay == nullptr) {
            fail("there is no X display");
        }
        XSetErrorHandler([](Display*, XErrorEvent*) { return 0; }); // a window may go at any time
        XSelectInput(mDisplay, DefaultRootWindow(mDisplay), SubstructureNotifyMask);
        XSync(mDisplay, False);
    }
    Watcher(Watcher const&) = delete;
    Watcher& operator=(Watcher const&) = delete;
    ~Watcher() { XCloseDisplay(mDisplay); }

    // When the next window was mapped. It is off the screen on return.
    Clock::time_point next() {
        for (;;) {
            XEvent const event = take();
            if (event.type != MapNotify) {
                continue;
            }
            auto const mapped = Clock::now();
            Window const window = event.xmap.window;
            XWindowAttributes shape;
            if (XGetWindowAttributes(mDisplay, window, &shape) != 0 && shape.width >= kSmallestWindow) {
                close(window);
                return mapped;
            }
        }
    }

private:
    XEvent take() {
        pollfd descriptor = {ConnectionNumber(mDisplay), POLLIN, 0};
        while (XPending(mDisplay) == 0) {
            if (::poll(&descriptor, 1, kLimitMilliseconds) == 0) {
                fail("no window comes, or one does not go");
            }
        }
        XEvent event;
        XNextEvent(mDisplay, &event);
        return event;
    }

    void close(Window window) {
        XEvent message = {};
        message.xclient.type = ClientMessage;
        message.xclient.window = window;
        message.xclient.message_type = XInternAtom(mDisplay, "WM_PROTOCOLS", False);
        message.xclient.format = 32;
        message.xclient.data.l[0] = static_cast<long>(XInternAtom(mDisplay, "WM_DELETE_WINDOW", False));
        XSendEvent(mDisplay, window, False, NoEventMask, &message);
        for (;;) {
            XEvent const event = take();
            if (event.type == UnmapNotify && event.xunmap.window == window) {
                return;
            }
        }
    }

    Display* mDisplay;
};

double milliseconds(Clock::duration time) { return std::chrono::duration<double, std::milli>(time).count(); }

// From the beginning of `call`, which returns when its dialog is closed, to the window.
double untilMapped(Watcher& watcher, std::function<void()> const& call) {
    auto seen = std::async(std::launch::async, [&watcher] { return watcher.next(); });
    auto const start = Clock::now();
    call();
    return milliseconds(seen.get() - start);
}

void showOurs() {
    if (!OrbuIntUtil::showErrorDialog("Error", "The file could not be saved.", "The disk is full.", 1)) {
        fail("the error dialog cannot be shown");
    }
}

void showZenity() {
    std::string words[] = {"zenity", "--error", "--title=Error", "--text=The file could not be saved."};
    char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), words[3].data(), nullptr};
    pid_t pid = 0;
    if (::posix_spawnp(&pid, arguments[0], nullptr, nullptr, arguments, environ) != 0) {
        fail("zenity cannot be started");
    }
    ::waitpid(pid, nullptr, 0);
}

double connecting() {
    auto const start = Clock::now();
    QMXPipeNamedConduit* const conduit = OrbuIntUtil::getQMXPipeConduit();
    auto const connected = Clock::now();
    if (conduit == nullptr) {
        fail("there is no companion");
    }
    conduit->terminate(true);
    delete conduit;
    return milliseconds(connected - start);
}

// Also when nobody has collected it yet.
bool isGone(pid_t pid) {
    std::ifstream file("/proc/" + std::to_string(pid) + "/stat");
    std::string line;
    std::getline(file, line);
    size_t const name = line.rfind(") ");
    return name == std::string::npos || line[name + 2] == 'Z';
}

void endCompanion() {
    std::string const prefix = QMXPipeNamedConduit::defaultPipePrefix("QMX").toUtf8();
    pid_t pid = 0;
    if (!(std::ifstream(prefix + "/.serverpid") >> pid) || pid <= 1) {
        return;
    }
    ::kill(pid, SIGTERM);
    auto const end = Clock::now() + std::chrono::milliseconds(kLimitMilliseconds);
    while (!isGone(pid)) {
        if (Clock::now() > end) {
            fail("the companion does not end");
        }
        ::usleep(1000);
    }
}

struct Row {
    const char* name;
    std::function<double()> measure;
    double most; // times zenity's; 0: no target
    std::vector<double> times;

    double median() {
        std::sort(times.begin(), times.end());
        return times[times.size() / 2];
    }
};

bool hasZenity() { return std::system("command -v zenity >/dev/null") == 0; }

} // namespace

int main(int argc, char** argv) {
    bool const strict = argc > 1 && std::strcmp(argv[1], "--strict") == 0;
    int const rounds = argc > 1 + strict ? std::atoi(argv[1 + strict]) : 15;
    if (rounds < 1) {
        std::fputs("usage: orbu_bench_dialogs [--strict] [ROUNDS]\n", stderr);
        return 2;
    }
    ::signal(SIGCHLD, SIG_DFL);
    useRuntimeOfLibrary();
    COrbuIntHost::initialize("en_US", nullptr);
    Watcher watcher;

    std::vector<Row> rows;
    if (hasZenity()) {
        rows.push_back({"zenity --error", [&watcher] { return untilMapped(watcher, showZenity); }, 0, {}});
    }
    rows.push_back({"showErrorDialog, the companion is started for it",
                    [&watcher] {
                        endCompanion();
                        return untilMapped(watcher, showOurs);
                    },
                    1,
                    {}});
    rows.push_back({"showErrorDialog, the companion runs",
                    [&watcher] { return untilMapped(watcher, showOurs); },
                    0.5,
                    {}});
    rows.push_back({"... of which connecting", connecting, 0, {}});
    rows.push_back({"connecting, the companion is started for it",
                    [] {
                        endCompanion();
                        return connecting();
                    },
                    0,
                    {}});

    // In turns, so that a machine that is busy is as busy for all; the first turn warms the disk's cache.
    for (int round = 0; round <= rounds; ++round) {
        for (Row& row : rows) {
            double const time = row.measure();
            if (round > 0) {
                row.times.push_back(time);
            }
        }
    }
    endCompanion();

    bool met = true;
    double const peer = hasZenity() ? rows[0].median() : 0;
    std::printf("From the call to the mapped window, median of %d, milliseconds%s\n", rounds,
                peer > 0 ? "" : " (without zenity, which is not installed)");
    for (Row& row : rows) {
        std::printf("  %-50s %8.1f", row.name, row.median());
        if (peer > 0) {
            std::printf("   %5.2f of zenity", row.median() / peer);
        }
        if (peer > 0 && row.most > 0) {
            bool const isMet = row.median() <= row.most * peer;
            std::printf(", at most %.1f%s", row.most, isMet ? "" : ": NOT MET");
            met = met && isMet;
        }
        std::printf("\n");
    }
    COrbuIntHost::shutdown();
    return met || !strict ? 0 : 1;
}
