// One line to the system log, at LOG_CRIT under the identity "QMX" with the process id.
//
// Both do the same, and neither ends the process, whatever the name of the first says. Each call is
// openlog(3), vsyslog(3), closelog(3): what the host has set with openlog is undone. They take libc's log
// lock, so they are not for a forked child of a threaded process (see c_syslogPrivate.h). Any thread.
#pragma once

#include "orbuutil/orbuExport.h"

ORBU_EXPORT void err_quit(const char* format, ...) __attribute__((format(printf, 1, 2)));
ORBU_EXPORT void msg_debug(const char* format, ...) __attribute__((format(printf, 1, 2)));
