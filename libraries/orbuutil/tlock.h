// TLock: one lock record (c_lock.h, where the rules are told), from construction to destruction.
//
// A failed acquire is the end of an object's usefulness: the next one seems to succeed, and the destructor
// posts what was never taken. Whoever creates the lock with `acquire` holds it without a level to release.
// One object belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

struct lock;

class ORBU_EXPORT TLock {
public:
    // Opens the named semaphore, or with `create` makes it; with `acquire` takes it, without a time limit.
    TLock(const TStr& name, bool create, bool acquire);
    ~TLock();
    TLock(const TLock&) = delete;
    TLock& operator=(const TLock&) = delete;

    bool acquire(long timeout); // microseconds, 0 for ever; true when held
    bool acquireIfAvailable();  // past the count
    void release();
    void destroy(); // removes the name from the system
    TStr name() const;
    bool isValid() const; // the semaphore is open

private:
    lock* mLock;
};
