// Processes, plain layer: starting a program, watching a process id, splitting a command line.
//
// - A record is made from a path with arguments, to be executed, or from a pid, to be watched only. It is
//   the caller's, who gives it to process_uninit; strings handed in are copied.
// - Arguments do not travel on the command line: the argument string stands, as it is, in the environment
//   variable PROCESS_ARGUMENTS of the started program. The rest of the environment is left as it is.
// - Null: a null record is accepted everywhere.
// - Failures come back as result codes, and a program that could not be run only shows in the system log.
// - Threads: one record belongs to one thread at a time. A threaded host may execute: everything is prepared
//   before fork(2), and the child allocates nothing and takes no lock on its way to exec.
#pragma once

#include "orbuutil/orbuExport.h"

struct process;
struct str;

// Results of execute, wait and status.
enum : long {
    PROCESS_EXISTS = 0,      // process_status: the process is there
    PROCESS_RUNNING = -1,    // still running, or ended by a signal; process_execute: started
    PROCESS_ENDED = -2,      // ended normally, its exit code is known
    PROCESS_NO_RECORD = -3,  // null record
    PROCESS_NO_PID = -4,     // no process id
    PROCESS_NO_PROCESS = -6, // process_status: no such process
};

// --- records ---

ORBU_EXPORT process* process_init(const str* path, const str* arguments);
ORBU_EXPORT process* process_from_pid(int pid);
ORBU_EXPORT void process_uninit(process* record);

// The process id, 0 when there is none, -1 after a start whose fork(2) failed. For a daemon it is that of the
// child in front of it, which is gone when process_execute returns.
ORBU_EXPORT int process_pid(const process* record);

// --- descriptors to be carried into the child ---

// The child will see `from` as `to`: dup2(2) in the order of mapping. The parent's `from` is closed by
// process_execute and reads 0 from then on; a later execute takes no notice of it. A pair that is mapped
// already only gets the new `flag`, which is kept and not used. `name` is a label, cut to 16 bytes; may be
// null. Always 0. A daemon closes all its descriptors, and these with them.
ORBU_EXPORT int process_map_descriptor(process* record, int from, int to, int flag, const char* name);
ORBU_EXPORT void process_clear_descriptor_map(process* record);

// Look up by label: 1 with the descriptor in `out`, or 0.
ORBU_EXPORT int process_get_from_descriptor(const process* record, const char* name, int* out);
ORBU_EXPORT int process_get_to_descriptor(const process* record, const char* name, int* out);

// --- starting ---

// Runs the program: fork(2) and execvp(3), with the base name of the path as its only argument. A path with
// ".app" in it, the first in any case of letters, is an application bundle: it is cut back to end there, or
// to the directory above where the name goes on behind the match ("x.apple" is cut off), and from what is
// left "Contents/MacOS/qmxopen" is run, with "qmxopen" and the path of "Contents/MacOS/QMX" as arguments.
//
// With `daemonize` the child detaches itself first (see _daemonize, which `leave_closed` is for): this waits
// for the child in front to leave, and gives -1. Otherwise -2 when the child is gone already, else -1. -3 for
// a null record. A failed fork(2) gives -1 too, and one finds out by looking for what the program does.
ORBU_EXPORT long process_execute(process* record, int daemonize, int leave_closed);

// --- watching ---

// waitpid(2) with WNOHANG and WUNTRACED out of `options`. -2 when it had something to tell, or failed, and
// the last status known is that of a normal end; otherwise -1. -3 and -4 as above.
ORBU_EXPORT long process_wait(process* record, int options);

// The exit code of a process that has ended, 0 while it runs, without a pid and after a signal. -3 for a null
// record. Never waits.
ORBU_EXPORT int process_exit_code(process* record);

// Is it there: kill(2) with signal 0. 0 when it is, also when it may not be signalled; -6 when it is not, and
// for a negative pid; -3 for a null record.
ORBU_EXPORT long process_status(const process* record);

// --- command lines ---

// The words of a command line, each separated from the next by a carriage return. Blanks and tabs separate;
// quotes of either kind around a word keep them in, and are ordinary characters inside a word. An empty
// quoted word is lost, and what follows a closing single quote is dropped, on purpose. There is no escape
// character.
ORBU_EXPORT str* process_split_arguments(const str* s);
