// The way to a daemon for a child that is going to be replaced by another program.
#pragma once

// _daemonize without its last step: the system log is not opened, since an exec follows. Takes no lock of
// libc's, so it is for a forked child of a threaded process too.
void private_daemonize(const char* ident, int leave_closed);
