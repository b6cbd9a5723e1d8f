// Named locks, plain layer: exclusion between processes by a POSIX named semaphore.
//
// - A record is always made; lock_errno tells whether its semaphore is open. It belongs to the caller, who
//   gives it to lock_uninit. Records must not be null.
// - Within one record the lock is nested by counting. Two records of one name exclude each other, in one
//   process too. A process that dies while it holds the lock leaves it held, until the name is destroyed.
// - Names are ASCII, "/" and then no further one (sem_overview(7)). A name with other characters is opened as
//   it stands, but told and destroyed with "?" in their place.
// - Results: 0 held, -1 not. An operation on a semaphore that did not open fails as with EINVAL.
// - Three asymmetries that callers count on: who creates the semaphore with `acquire` holds it without a
// level
//   to release; a failed acquire leaves the count raised, so that the next one gives 0 without holding, and
//   the release of that level, by lock_uninit too, posts a semaphore that was never taken; and
//   lock_acquire_if_available counts nothing.
// - Threads: one record belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"

struct lock;
struct str;

// Not 0: every step of the lock family is traced on standard output. For a host to set.
ORBU_EXPORT extern int Debug;

// Opens the semaphore; when there is none (or it may not be opened) creates it with mode 0640, unless
// `must_exist`. With `acquire` an opener waits for it, without limit, and counts 1; a creator makes it held
// and counts 0: only lock_destroy clears it for others then.
ORBU_EXPORT lock* lock_init(const char* name, int must_exist, int acquire);

// Gives back one level if there is one (a deeper count stays held), closes the semaphore, frees the record.
ORBU_EXPORT void lock_uninit(lock* pl);

// Adds one level; the first takes the semaphore. `timeout` in microseconds, counted in sleeps of 100; 0 waits
// for ever; anything else tries at least once.
ORBU_EXPORT int lock_acquire(lock* pl, long timeout);

// Takes the semaphore if it is free, past the count: lock_release does not give it back.
ORBU_EXPORT int lock_acquire_if_available(lock* pl);

// Takes one level back; the last posts the semaphore. With none to take back the process is ended by an
// assertion.
ORBU_EXPORT void lock_release(lock* pl);

// 0 when the semaphore is open, otherwise the errno of opening it.
ORBU_EXPORT int lock_errno(const lock* pl);

// A copy of the name, for str_uninit.
ORBU_EXPORT str* lock_name(const lock* pl);

// Removes the name from the system; who has the semaphore open keeps it.
ORBU_EXPORT void lock_destroy(lock* pl);
