// Detaching from a terminal and leaving without a trace in the host.
//
// These change the calling process as a whole, so they are for a forked child or a program's main thread.
// They allocate nothing and take no lock of libc's except for openlog(3) at the start of _daemonize, and they
// log what they do to the system log at LOG_CRIT under "QMX".
#pragma once

#include "orbuutil/orbuExport.h"

// Makes a daemon of the calling process: umask 0, two forks, a session of its own, SIGHUP ignored, every
// descriptor closed and, unless `leave_closed` is set, 0, 1 and 2 opened on /dev/null; then the system log is
// opened as `ident` (kept by pointer) with LOG_CONS and LOG_DAEMON.
//
// It returns in the grandchild only. The caller leaves through exit_no_hooks(0). The child in between, leader
// of the session, keeps none of the descriptors and no signal handler, and stays until the daemon is gone;
// the daemon itself never leads a session and so can take no controlling terminal. When a fork fails, that is
// logged and the process carries on in its place.
ORBU_EXPORT void _daemonize(const char* ident, int leave_closed);

// Leaves without running the exit handlers of the process, by replacing it: code 0 runs /usr/bin/false and
// any other code /usr/bin/true. It looks the wrong way round and is kept: nobody reads the status. abort(3)
// when neither can be run.
[[noreturn]] ORBU_EXPORT void exit_no_hooks(int code);

// Closes every descriptor from 0 up to the hard limit of RLIMIT_NOFILE (1024 when that is unlimited).
ORBU_EXPORT void close_file_descriptors();
