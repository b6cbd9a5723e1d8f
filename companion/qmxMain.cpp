#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/signalfd.h>
#include <unistd.h>

#include "headlessPresenter.h"
#include "qmx/qmxBase.h"
#include "serverLoop.h"
#include "settings.h"
#include "windowsPresenter.h"

namespace {

// Blocks the signals that end the server, and SIGPIPE, and gives a descriptor that reads them: a client may
// die under any write, and an end may come in the middle of anything.
int signalDescriptor() {
    sigset_t signals;
    sigemptyset(&signals);
    for (int const number : {SIGTERM, SIGINT, SIGHUP, SIGPIPE}) {
        sigaddset(&signals, number);
    }
    pthread_sigmask(SIG_SETMASK, &signals, nullptr);
    return ::signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC);
}

void writeToLog(QMXLogLevel level, TStr const& message, void* context) {
    ::dprintf(*static_cast<int*>(context), "%d %s %s\n", getpid(), level == QMXLogError ? "error" : "debug",
              message.toUtf8());
}

std::unique_ptr<Presenter> makePresenter(Settings const& settings) {
    auto headless = std::make_unique<HeadlessPresenter>(settings.answers, settings.answersFile);
    switch (settings.shows) {
    case Shows::Headless:
        return headless;
    case Shows::Windows:
        return std::make_unique<WindowsPresenter>(nullptr);
    case Shows::Auto:
        break;
    }
    bool const hasRules = !settings.answers.empty() || !settings.answersFile.empty();
    if (!settings.display || hasRules) {
        return headless;
    }
    return std::make_unique<WindowsPresenter>(std::move(headless));
}

} // namespace

int main(int argc, char** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--help") == 0) {
        std::fputs(usageText, stdout);
        return ExitDone;
    }
    if (argc == 2 && std::strcmp(argv[1], "--version") == 0) {
        std::puts("QMX " ORBU_VERSION);
        return ExitDone;
    }
    if (argc != 1) {
        std::fputs("QMX: takes no arguments (see QMX --help)\n", stderr);
        return ExitUsage;
    }
    auto const settings = readSettings();
    if (!settings) {
        return ExitUsage;
    }
    static int log = -1;
    if (!settings->log.empty()) {
        log = ::open(settings->log.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0600);
        QMXBase::setLogSink(writeToLog, &log);
    }
    std::unique_ptr<Presenter> const presenter = makePresenter(*settings);
    ServerLoop server(*settings, *presenter, signalDescriptor());
    int const code = server.run();
    if (code == ExitNoRole) {
        std::fprintf(stderr, "QMX: another server has the prefix %s, or it cannot be used\n",
                     settings->prefix.c_str());
    }
    if (!presenter->stop()) {
        ::_exit(code);
    }
    QMXBase::setLogSink(nullptr, nullptr);
    return code;
}
