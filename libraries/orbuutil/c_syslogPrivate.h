// The same lines to the system log from a forked child.
//
// fork(2) copies libc's log and time zone locks as they are, and a thread that held one does not exist in the
// child: syslog(3) there could wait for ever. These write the datagram to the log's socket themselves, with
// system calls and vsnprintf(3) alone. The line carries no time: the receiver stamps it as it arrives.
#pragma once

// A line as msg_debug and err_quit write it, and one at LOG_ERR. At most 8 KiB; errno is kept. A log that is
// full is waited for, for a second at most: the parent waits for this process.
void private_log_forked(const char* format, ...) __attribute__((format(printf, 1, 2)));
void private_log_forked_error(const char* format, ...) __attribute__((format(printf, 1, 2)));

// The log's socket; elsewhere for a test that reads the lines.
extern const char* private_log_path;
