// The time limit and the signals that end a conversation.
//
// Two lines of defence. The soft one: the library calls back in each round of a wait, and the callback asks
// `end_reason()`. The hard one is for the places where the library sits in the kernel and calls nobody (a
// lock that another process holds, a FIFO that is full): shortly after the limit, or after Ctrl-C, a timer's
// signal arrives, again and again. The first ones break system calls off, which is mostly enough to come to
// the next round; the last one removes what this process has on disk, gives back the lock, and ends the
// process from the handler.
//
// One per process. Everything here is called by the thread that drives the conduit.
#pragma once

#include "exitCodes.h"

#include <chrono>
#include <semaphore.h>
#include <string>

namespace watchdog {

using Duration = std::chrono::nanoseconds;

inline constexpr Duration kForever = Duration::max();

// From now on: the limit runs, and SIGINT, SIGTERM and SIGHUP are caught. `fifo` and `folder` are removed
// (unlink, rmdir) when the process has to be ended from the handler; the folder only if it is empty.
void start(Duration limit, std::string const& fifo, std::string const& folder);

// A new limit from now, and the reason to give up that it stands for.
void restart(Duration limit, int reason = ExitTimeLimit);
// No limit any more, and signals end the process as they do by default.
void stop();

// Whether the process has to give up: 0, the limit's reason, or ExitSignal and the signal's number.
int end_reason();
// A signal that came is dealt with: what follows has a limit of its own, from restart().
void forget_signal();
Duration remaining();

// The lock that this process holds, to be given back when the handler ends the process. Null: none.
void set_held_lock(sem_t* lock);

// What the handler tells when the limit has passed; at most 500 bytes.
void set_message(std::string const& message);

// What the handler does at last, for a place outside of it that cannot go on either.
[[noreturn]] void end_now(int code, char const* line);

} // namespace watchdog
