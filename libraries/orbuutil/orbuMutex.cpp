#include "orbuutil/orbuMutex.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr long nameRoom = 31;       // bytes, the terminator included
constexpr int pollInterval = 100;   // microseconds between two attempts
constexpr unsigned freeAtFirst = 1; // the value of a new semaphore

// The longest run of whole characters from the start that fits, and at least one character.
TStr cutName(TStr const& name) {
    TStr cut = name.left(nameRoom);
    for (int characters = nameRoom - 1; cut.length() >= nameRoom && characters >= 1; --characters) {
        cut = name.left(characters);
    }
    return cut;
}

} // namespace

OrbuMutexImp::~OrbuMutexImp() = default;

OrbuUnixMutexImp::~OrbuUnixMutexImp() {
    if (state != State::None) {
        if (locked) {
            post();
        }
        OrbuUnixMutexImp::Close();
        locked = false;
    }
}

bool OrbuUnixMutexImp::Open(TStr const& wanted) {
    if (wanted.isEmpty()) {
        return false;
    }
    TStr const cut = cutName(wanted);
    const char* const utf8 = cut.toUtf8();
    if (utf8 == nullptr) {
        return false;
    }
    if (state != State::None) {
        this->Close();
    }
    semaphore = ::sem_open(utf8, O_CREAT, 0644, freeAtFirst);
    if (semaphore == SEM_FAILED) {
        state = State::Failed;
        return false;
    }
    state = State::Open;
    name = cut;
    return true;
}

bool OrbuUnixMutexImp::Close() {
    if (state == State::None) {
        return false;
    }
    bool closed = false;
    if (state == State::Open) {
        closed = ::sem_close(semaphore) == 0;
        ::sem_unlink(name.toUtf8());
    }
    name.clear();
    semaphore = nullptr;
    state = State::None;
    locked = false; // dropped: a semaphore opened later has not been taken
    return closed;
}

bool OrbuUnixMutexImp::Lock(int timeout) {
    locked = false;
    if (timeout == -1) {
        locked = state == State::Open && ::sem_wait(semaphore) != -1;
    } else {
        locked = TimedWait(timeout);
    }
    return locked;
}

bool OrbuUnixMutexImp::TimedWait(int timeout) {
    if (state != State::Open) {
        return false;
    }
    int budget = timeout;
    while (budget > 0) {
        if (::sem_trywait(semaphore) == 0) {
            return true;
        }
        if (errno == EAGAIN) {
            int const step = std::min(budget, pollInterval);
            ::usleep(static_cast<useconds_t>(step));
            budget -= step;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return false;
}

bool OrbuUnixMutexImp::UnLock() {
    if (state == State::None) {
        return true;
    }
    if (!locked) {
        return false;
    }
    post();
    return locked;
}

bool OrbuUnixMutexImp::IsLocked() const { return locked; }

void OrbuUnixMutexImp::post() { locked = ::sem_post(semaphore) != 0; }

OrbuMutex::OrbuMutex() : imp(new OrbuUnixMutexImp) {}

OrbuMutex::~OrbuMutex() { delete imp; }

bool OrbuMutex::Open(TStr const& name) { return imp->Open(name); }

bool OrbuMutex::Close() { return imp->Close(); }

bool OrbuMutex::Lock(int timeout) { return imp->Lock(timeout); }

bool OrbuMutex::UnLock() { return imp->UnLock(); }

bool OrbuMutex::IsLocked() const { return imp->IsLocked(); }
