// OrbuMutex: a lock between processes, over a POSIX named semaphore of the value 1.
//
// - It is held for one short span: Open, Lock, work, UnLock, Close. Every Close removes the name from the
//   system, also while others have the semaphore open: whoever comes next makes a new one, which is free. So
//   two processes exclude each other only as long as neither closes while the other is inside. Hosts depend
//   on the name being free after a Close, and accept this.
// - No count and no owner: a second Lock by the same thread waits for itself. A process that dies between
//   Lock and UnLock leaves the semaphore taken, until somebody closes that name.
// - Results are bool, true for success but for UnLock. Nothing is logged, errno is not kept.
// - Threads: one object belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

#include <semaphore.h>

// What an OrbuMutex forwards to.
class ORBU_EXPORT OrbuMutexImp {
public:
    OrbuMutexImp() = default;
    virtual ~OrbuMutexImp();
    OrbuMutexImp(OrbuMutexImp const&) = delete;
    OrbuMutexImp& operator=(OrbuMutexImp const&) = delete;

    virtual bool Open(TStr const& name) = 0;
    virtual bool Close() = 0;
    virtual bool Lock(int timeout) = 0;
    virtual bool UnLock() = 0;
    virtual bool IsLocked() const = 0;

protected:
    bool locked = false;
};

class ORBU_EXPORT OrbuUnixMutexImp : public OrbuMutexImp {
public:
    OrbuUnixMutexImp() = default;
    // Posts what is held, then closes.
    ~OrbuUnixMutexImp() override;

    // sem_open(3), which makes the semaphore if it is not there (mode 0644). The name is cut, by whole
    // characters, to 30 bytes or fewer: names that differ only beyond that are one lock. A semaphore that is
    // open is closed first, so a lock that is held is dropped without a post. False for an empty name or
    // null.
    bool Open(TStr const& name) override;

    // sem_close(3), whose success is the result, and sem_unlink(3) of the name. What was held is not posted,
    // and counts as held no longer. False with nothing open.
    bool Close() override;

    // `timeout` -1: sem_wait(3); a signal ends it, with false. Above 0: microseconds, spent in sleeps of at
    // most 100 between two sem_trywait(3), and no last try once they are spent. Any other value is false at
    // once, even when the semaphore is free. After a false result the lock is open and not held.
    bool Lock(int timeout) override;

    // Not a success flag: true when nothing is open or the post failed, so that the lock still stands; false
    // when it was given back, or was not held. Hosts have always had it so, and ignore it.
    bool UnLock() override;

    bool IsLocked() const override;

    // Lock with a timeout above 0, past the flag that IsLocked tells. False for other timeouts.
    bool TimedWait(int timeout);

private:
    // SEM_FAILED is a null pointer on some systems, so that the handle alone does not tell these apart.
    enum class State { None, Failed, Open };

    void post();

    sem_t* semaphore = nullptr;
    TStr name; // as opened; empty when nothing is
    State state = State::None;
};

class ORBU_EXPORT OrbuMutex {
public:
    OrbuMutex();
    // Gives back what is held, and closes.
    virtual ~OrbuMutex();
    OrbuMutex(OrbuMutex const&) = delete;
    OrbuMutex& operator=(OrbuMutex const&) = delete;

    // As OrbuUnixMutexImp.
    virtual bool Open(TStr const& name);
    virtual bool Close();
    virtual bool Lock(int timeout); // -1 for ever, else microseconds
    virtual bool UnLock();          // false when it was given back
    virtual bool IsLocked() const;

protected:
    bool locked = false; // has a place in the object, and no use
    OrbuMutexImp* imp;   // owned
};
