#include "command.h"

#include "exitCodes.h"
#include "interruption.h"
#include "terminal.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
constexpr int kNotFound = 127;
constexpr int kNotRun = 126;

constinit volatile pid_t running = 0;

void hand_on(int number, siginfo_t* info, void*) {
    int const error = errno;
    if (info->si_code <= 0 && running > 0) {
        ::kill(running, number);
    }
    errno = error;
}

// Hands signals on while it lives. What is ignored from outside stays ignored.
class HandingOn {
public:
    HandingOn() {
        struct sigaction action = {};
        action.sa_sigaction = hand_on;
        action.sa_flags = SA_SIGINFO | SA_RESTART;
        sigemptyset(&action.sa_mask);
        for (size_t i = 0; i < std::size(kSignals); ++i) {
            sigaction(kSignals[i], nullptr, &before_[i]);
            if (before_[i].sa_handler != SIG_IGN) {
                sigaction(kSignals[i], &action, nullptr);
            }
        }
    }
    ~HandingOn() {
        for (size_t i = 0; i < std::size(kSignals); ++i) {
            sigaction(kSignals[i], &before_[i], nullptr);
        }
    }
    HandingOn(HandingOn const&) = delete;
    HandingOn& operator=(HandingOn const&) = delete;

private:
    struct sigaction before_[std::size(kSignals)] = {};
};

[[noreturn]] void become(std::vector<std::string> const& words, sigset_t const& mask, void (*prepare)()) {
    if (prepare != nullptr) {
        prepare();
    }
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string const& word : words) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    for (int const number : kSignals) {
        struct sigaction now = {};
        if (sigaction(number, nullptr, &now) == 0 && now.sa_handler != SIG_IGN) {
            signal(number, SIG_DFL);
        }
    }
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    ::execvp(arguments[0], arguments.data());
    int const error = errno;
    tell("cannot run " + one_line(words[0]) + ": " + std::strerror(error));
    ::_exit(error == ENOENT ? kNotFound : kNotRun);
}

} // namespace

int run_command(std::vector<std::string> const& words, void (*prepare)()) {
    HandingOn const handing_on;
    {
        // A signal that comes before the program is there waits for it.
        interruption::Hold const hold;
        sigset_t mask = hold.before();
        sigdelset(&mask, SIGPIPE);
        pid_t const child = ::fork();
        if (child < 0) {
            throw Failure(ExitFailed, std::string("cannot start a process: ") + std::strerror(errno));
        }
        if (child == 0) {
            become(words, mask, prepare);
        }
        running = child;
    }
    siginfo_t ended = {};
    while (::waitid(P_PID, static_cast<id_t>(running), &ended, WEXITED | WNOWAIT) != 0) {
        if (errno != EINTR) {
            throw Failure(ExitFailed, std::string("lost sight of the command: ") + std::strerror(errno));
        }
    }
    // Its id is nobody else's until it is taken from here.
    interruption::Hold const hold;
    int status = 0;
    ::waitpid(running, &status, 0);
    running = 0;
    return WIFSIGNALED(status) ? ExitSignal + WTERMSIG(status) : WEXITSTATUS(status);
}
