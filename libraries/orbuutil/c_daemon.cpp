#include "orbuutil/c_daemon.h"

#include "orbuutil/c_daemonPrivate.h"
#include "orbuutil/c_syslogPrivate.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

namespace {

// No code of the host's is to run in a process that stays behind. SIGHUP remains ignored.
void dropSignalHandlers() {
    for (int number = 1; number < NSIG; ++number) {
        if (number != SIGHUP) {
            ::signal(number, SIG_DFL);
        }
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

// Leads the session for as long as the daemon lives.
[[noreturn]] void leadSession(pid_t daemon) {
    private_log_forked("%d DAEMONIZE: tty disconnect parent exiting", ::getpid());
    dropSignalHandlers();
    close_file_descriptors();
    for (;;) {
        pid_t const gone = ::wait(nullptr);
        if (gone == daemon || (gone < 0 && errno != EINTR)) {
            break;
        }
    }
    exit_no_hooks(0);
}

void openNullDevice() {
    int const in = ::open("/dev/null", O_RDWR);
    int const out = ::dup(0);
    int const error = ::dup(0);
    if (in != 0 || out != 1 || error != 2) {
        private_log_forked_error("unexpected file descriptors %d %d %d", in, out, error);
        exit_no_hooks(1);
    }
}

} // namespace

void private_daemonize(const char* ident, int leave_closed) {
    private_log_forked("%d DAEMONIZE: setting umask 0", ::getpid());
    ::umask(0);

    pid_t child = ::fork();
    if (child < 0) {
        private_log_forked("%s: can't fork", ident);
    } else if (child > 0) {
        private_log_forked("%d DAEMONIZE: session parent exiting", ::getpid());
        exit_no_hooks(0);
    }

    ::setsid();
    private_log_forked("%d DAEMONIZE: session new session leader", ::getpid());
    struct sigaction ignore = {};
    ignore.sa_handler = SIG_IGN;
    ::sigemptyset(&ignore.sa_mask);
    if (::sigaction(SIGHUP, &ignore, nullptr) != 0) {
        private_log_forked("%s: can't ignore SIGHUP", "_daemonize");
    }

    child = ::fork();
    if (child < 0) {
        private_log_forked("%s: can't fork", ident);
    } else if (child > 0) {
        leadSession(child);
    }

    private_log_forked("%d DAEMONIZE: tty disconnect child", ::getpid());
    private_log_forked("%d DAEMONIZE: closing file descriptors", ::getpid());
    close_file_descriptors();
    if (leave_closed == 0) {
        openNullDevice();
    }
}

void _daemonize(const char* ident, int leave_closed) {
    // Opened before the forks, while libc's lock is sure to be free: the children take the setting over, and
    // this process leaves. A connection of the host's to the log must not survive as a stale number.
    ::closelog();
    ::openlog(ident, LOG_CONS, LOG_DAEMON);
    private_daemonize(ident, leave_closed);
}

void exit_no_hooks(int code) {
    private_log_forked("exiting and supressing hooks: %d", code);
    const char* const program = code == 0 ? "/usr/bin/false" : "/usr/bin/true";
    ::execl(program, program, static_cast<char*>(nullptr));
    private_log_forked("exec failed with error code: %d", errno);
    std::abort();
}

void close_file_descriptors() {
    rlimit limit = {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        private_log_forked("%s: can't get file limit", "close_file_descriptors");
    }
    rlim_t const count = limit.rlim_max == RLIM_INFINITY ? 1024 : limit.rlim_max;
    if (count < 1) {
        return;
    }
    // One call instead of up to 10^9; the loop is for kernels and sandboxes that do not have it.
    rlim_t const last = std::min<rlim_t>(count - 1, INT_MAX);
    if (::close_range(0, static_cast<unsigned>(last), 0) != 0) {
        for (rlim_t fd = 0; fd <= last; ++fd) {
            ::close(static_cast<int>(fd));
        }
    }
}
