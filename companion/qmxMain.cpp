#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include "headlessPresenter.h"
#include "qmx/qmxBase.h"
#include "serverLoop.h"
#include "settings.h"

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
    HeadlessPresenter presenter(settings->answers, settings->answersFile);
    ServerLoop server(*settings, presenter, signalDescriptor());
    int const code = server.run();
    if (code == ExitNoRole) {
        std::fprintf(stderr, "QMX: another server has the prefix %s, or it cannot be used\n",
                     settings->prefix.c_str());
    }
    QMXBase::setLogSink(nullptr, nullptr);
    return code;
}
