#include "orbuutil/c_syslog.h"

#include "orbuutil/c_syslogPrivate.h"
#include "orbuutil/ownersPrivate.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <paths.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr const char* identity = "QMX";

__attribute__((format(printf, 1, 0))) void logLine(const char* format, va_list arguments) {
    ::openlog(identity, LOG_PID, LOG_USER);
    ::vsyslog(LOG_CRIT, format, arguments);
    ::closelog();
}

// A socket connected to the log, of the kind that its receiver listens on.
UniqueFd openLog(int kind) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, private_log_path, sizeof address.sun_path - 1);
    UniqueFd log(::socket(AF_UNIX, kind | SOCK_CLOEXEC, 0));
    timeval const limit = {1, 0};
    ::setsockopt(log.get(), SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    if (log && ::connect(log.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        log.reset();
    }
    return log;
}

__attribute__((format(printf, 2, 0))) void logForked(int priority, const char* format, va_list arguments) {
    int const kept = errno;
    char line[8192];
    int const head = std::snprintf(line, sizeof line, "<%d>%s[%d]: ", priority, identity, ::getpid());
    int const body =
        std::vsnprintf(line + head, sizeof line - static_cast<std::size_t>(head), format, arguments);
    std::size_t bytes = std::min(static_cast<std::size_t>(head + std::max(body, 0)), sizeof line - 1);
    UniqueFd log = openLog(SOCK_DGRAM);
    if (!log && errno == EPROTOTYPE) {
        log = openLog(SOCK_STREAM);
        ++bytes; // on a stream the terminator ends the line
    }
    while (log && ::send(log.get(), line, bytes, MSG_NOSIGNAL) < 0 && errno == EINTR) {
    }
    errno = kept;
}

} // namespace

constinit const char* private_log_path = _PATH_LOG;

void err_quit(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    logLine(format, arguments);
    va_end(arguments);
}

void msg_debug(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    logLine(format, arguments);
    va_end(arguments);
}

void private_log_forked(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    logForked(LOG_USER | LOG_CRIT, format, arguments);
    va_end(arguments);
}

void private_log_forked_error(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    logForked(LOG_USER | LOG_ERR, format, arguments);
    va_end(arguments);
}
