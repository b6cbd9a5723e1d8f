#include "interruption.h"

#include "exitCodes.h"

#include <cerrno>
#include <cstring>
#include <unistd.h>

namespace interruption {

namespace {

constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};

// What the handlers work with. It changes only while signals wait.
constinit char file_path[4096] = "";
constinit int terminal = -1;
constinit termios terminal_before = {};
constinit termios terminal_quiet = {};
constinit char const* terminal_prompt = "";

void write_text(int fd, char const* text) {
    // Nothing is left to be done about an error here.
    [[maybe_unused]] ssize_t const written = ::write(fd, text, std::strlen(text));
}

void on_end(int number) {
    // In the background the terminal is somebody else's by now, and setting it would stop us.
    if (terminal >= 0 && tcgetpgrp(terminal) == getpgrp()) {
        tcsetattr(terminal, TCSANOW, &terminal_before);
        write_text(terminal, "\n");
    }
    if (file_path[0] != '\0') {
        ::unlink(file_path);
    }
    write_text(STDERR_FILENO, "orbu: interrupted\n");
    ::_exit(ExitSignal + number);
}

void on_stop(int) {
    int const error = errno;
    tcsetattr(terminal, TCSANOW, &terminal_before);
    raise(SIGSTOP);
    tcsetattr(terminal, TCSAFLUSH, &terminal_quiet);
    write_text(terminal, terminal_prompt);
    errno = error;
}

void catch_signal(int number, void (*handler)(int)) {
    struct sigaction before = {};
    if (sigaction(number, nullptr, &before) != 0 || before.sa_handler == SIG_IGN) {
        return;
    }
    struct sigaction action = {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    // Who is stopped can be ended all the same.
    for (int const other : kSignals) {
        if (handler == on_end) {
            sigaddset(&action.sa_mask, other);
        }
    }
    sigaction(number, &action, nullptr);
}

} // namespace

void start() {
    for (int const number : kSignals) {
        catch_signal(number, on_end);
    }
    // A limit on the size of files is an error of the write, like a full disk.
    signal(SIGXFSZ, SIG_IGN);
}

Hold::Hold() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_BLOCK, &all, &before_);
}

Hold::~Hold() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

bool set_file(std::string const& path) {
    Hold const hold;
    bool const fits = path.size() < sizeof file_path;
    std::memcpy(file_path, fits ? path.c_str() : "", fits ? path.size() + 1 : 1);
    return fits;
}

bool set_terminal(int fd, termios const& before, termios const& quiet, char const* prompt) {
    {
        Hold const hold;
        terminal_before = before;
        terminal_quiet = quiet;
        terminal_prompt = prompt;
        terminal = fd;
        catch_signal(SIGTSTP, on_stop);
    }
    // Not under the hold: in the background this stops the process until it is in front.
    if (tcsetattr(fd, TCSAFLUSH, &quiet) != 0) {
        clear_terminal();
        return false;
    }
    return true;
}

void clear_terminal() {
    Hold const hold;
    struct sigaction stop = {};
    if (sigaction(SIGTSTP, nullptr, &stop) == 0 && stop.sa_handler == on_stop) {
        signal(SIGTSTP, SIG_DFL);
    }
    if (terminal >= 0) {
        tcsetattr(terminal, TCSAFLUSH, &terminal_before);
        terminal = -1;
    }
}

} // namespace interruption
