// qmxopen: the launcher of the companion's bundle. Becomes the program in its first argument, with the
// arguments behind it, and leaves the environment untouched: the server's own argument travels there.
//
// Exit codes: 2 no program given, 127 no such program, 126 it cannot be run. A launcher started as a daemon
// has no standard error, so the reason goes to the system log as well.
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <syslog.h>
#include <unistd.h>

int main(int argc, char** argv) {
    if (argc < 2 || argv[1][0] == '\0') {
        std::fputs("usage: qmxopen PROGRAM [ARGUMENT...]\n", stderr);
        return 2;
    }
    ::execv(argv[1], argv + 1);
    int const error = errno;
    std::fprintf(stderr, "qmxopen: cannot start %s: %s\n", argv[1], std::strerror(error));
    ::openlog("qmxopen", LOG_PID, LOG_USER);
    ::syslog(LOG_ERR, "cannot start %s: %s", argv[1], std::strerror(error));
    return error == ENOENT || error == ENOTDIR ? 127 : 126;
}
