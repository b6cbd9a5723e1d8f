// OrbuFileLock: a lock between processes on an open file, over lockf(3).
//
// - The lock belongs to the process, not to the object: two objects of one process do not exclude each other,
//   and it goes when the process closes any descriptor of that file, or ends.
// - Results are bool, true for success. Nothing is logged, errno is not kept.
// - Threads: one object belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

class ORBU_EXPORT OrbuFileLock {
public:
    OrbuFileLock() = default;
    // Gives back what is held, and closes.
    virtual ~OrbuFileLock();
    OrbuFileLock(OrbuFileLock const&) = delete;
    OrbuFileLock& operator=(OrbuFileLock const&) = delete;

    // open(2) for reading and writing; makes the file (mode 0600) if it is not there. A file that is open is
    // closed first, and its lock with it. False for an empty path or null.
    virtual bool Open(TStr const& path);

    // close(2). The file stays. False when nothing is open.
    virtual bool Close();

    // Waits without a limit; a signal ends it, with false.
    virtual bool Lock();

    // True when it was given back, and when nothing is open or held, unlike OrbuMutex::UnLock.
    virtual bool UnLock();

    virtual bool IsLocked() const;

private:
    bool locked = false;
    TStr path; // as opened; empty when nothing is
    int fd = -1;
};
