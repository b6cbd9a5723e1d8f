#include "watchdog.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <unistd.h>

namespace watchdog {

namespace {

using Clock = std::chrono::steady_clock;

// The timer's signals come this far apart, so that the hard end is a quarter of a second after the soft one.
constexpr long kStrikeNanoseconds = 50'000'000;
constexpr int kStrikes = 5;
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

constinit std::atomic<int> caught_signal{0};
constinit std::atomic<int> strikes{0};
constinit std::atomic<sem_t*> held_lock{nullptr};
constinit Clock::time_point deadline{};
constinit timer_t timer{};
constinit bool running = false;
constinit int limit_reason = ExitTimeLimit;
// What the handler works with is prepared: it may not allocate.
constinit char fifo_path[4096] = "";
constinit char folder_path[4096] = "";
constinit char limit_line[512] = "";

template <size_t size>
void keep(char (&to)[size], std::string const& text) {
    to[0] = '\0';
    if (text.size() < size) {
        std::memcpy(to, text.c_str(), text.size() + 1);
    }
}

void arm(Duration first) {
    long const nanoseconds = std::max<long>(first.count(), 1);
    struct itimerspec when = {};
    when.it_value.tv_sec = nanoseconds / 1'000'000'000;
    when.it_value.tv_nsec = nanoseconds % 1'000'000'000;
    when.it_interval.tv_nsec = kStrikeNanoseconds;
    strikes = 0;
    timer_settime(timer, 0, &when, nullptr);
}

void on_alarm(int) {
    int const error = errno;
    if (++strikes >= kStrikes) {
        int const number = caught_signal;
        end_now(number != 0 ? ExitSignal + number : limit_reason,
                number != 0 ? "orbu: interrupted\n" : limit_line);
    }
    errno = error;
}

void on_signal(int number) {
    int const error = errno;
    if (caught_signal.exchange(number) != 0) {
        end_now(ExitSignal + number, "orbu: interrupted\n");
    }
    arm(Duration(kStrikeNanoseconds));
    errno = error;
}

} // namespace

void start(Duration limit, std::string const& fifo, std::string const& folder) {
    keep(fifo_path, fifo);
    keep(folder_path, folder);

    struct sigaction action = {};
    sigemptyset(&action.sa_mask);
    for (int const number : kSignals) {
        sigaddset(&action.sa_mask, number);
    }
    sigaddset(&action.sa_mask, SIGALRM);
    // No SA_RESTART: a call that blocks is to end.
    action.sa_handler = on_alarm;
    sigaction(SIGALRM, &action, nullptr);
    action.sa_handler = on_signal;
    for (int const number : kSignals) {
        struct sigaction before = {};
        // What is ignored from outside (nohup, a job in the background) stays ignored.
        if (sigaction(number, nullptr, &before) == 0 && before.sa_handler != SIG_IGN) {
            sigaction(number, &action, nullptr);
        }
    }
    struct sigevent event = {};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGALRM;
    if (timer_create(CLOCK_MONOTONIC, &event, &timer) != 0) {
        throw Failure(ExitFailed, std::string("cannot make a timer: ") + std::strerror(errno));
    }
    running = true;
    restart(limit);
}

void restart(Duration limit, int reason) {
    bool const forever = limit == kForever;
    limit_reason = reason;
    deadline = forever ? Clock::time_point::max() : Clock::now() + limit;
    if (!running || caught_signal != 0) {
        return;
    }
    if (forever) {
        struct itimerspec const never = {};
        timer_settime(timer, 0, &never, nullptr);
    } else {
        arm(limit + Duration(kStrikeNanoseconds));
    }
}

void stop() {
    if (!running) {
        return;
    }
    running = false;
    timer_delete(timer);
    for (int const number : kSignals) {
        struct sigaction now = {};
        if (sigaction(number, nullptr, &now) == 0 && now.sa_handler == on_signal) {
            signal(number, SIG_DFL);
        }
    }
}

int end_reason() {
    int const number = caught_signal;
    if (number != 0) {
        return ExitSignal + number;
    }
    return Clock::now() >= deadline ? limit_reason : 0;
}

void forget_signal() { caught_signal = 0; }

Duration remaining() { return std::max(Duration::zero(), Duration(deadline - Clock::now())); }

void set_held_lock(sem_t* lock) { held_lock = lock; }

void set_message(std::string const& message) { keep(limit_line, "orbu: " + message.substr(0, 500) + "\n"); }

void end_now(int code, char const* line) {
    if (fifo_path[0] != '\0') {
        ::unlink(fifo_path);
    }
    if (folder_path[0] != '\0') {
        ::rmdir(folder_path);
    }
    if (sem_t* const lock = held_lock.exchange(nullptr)) {
        sem_post(lock);
    }
    // Nothing is left to be done about an error here.
    [[maybe_unused]] ssize_t const told = ::write(STDERR_FILENO, line, std::strlen(line));
    ::_exit(code);
}

} // namespace watchdog
