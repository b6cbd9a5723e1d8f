#include "orbuutil/c_lock.h"

#include "orbuutil/c_assert.h"
#include "orbuutil/c_memory.h"
#include "orbuutil/c_strPrivate.h"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <semaphore.h>
#include <unistd.h>

constinit int Debug = 0;

struct lock {
    str* name;
    sem_t* semaphore; // SEM_FAILED when it did not open
    std::int32_t acquired;
    std::int32_t error;
};

namespace {

constexpr long pollMicroseconds = 100;

__attribute__((format(printf, 1, 2))) void trace(const char* format, ...) {
    if (Debug != 0) {
        va_list arguments;
        va_start(arguments, format);
        std::vprintf(format, arguments);
        va_end(arguments);
    }
}

// The calls on a semaphore. SEM_FAILED may be a null pointer, which the calls do not survive: they fail here
// as they would for any semaphore that is none.
int guarded(const lock* pl, int (*call)(sem_t*)) {
    if (pl->semaphore == SEM_FAILED) {
        errno = EINVAL;
        return -1;
    }
    return call(pl->semaphore);
}

int persistent(const lock* pl, int (*call)(sem_t*)) {
    int result;
    do {
        result = guarded(pl, call);
    } while (result != 0 && errno == EINTR);
    return result;
}

// Opens or creates the semaphore. True when creation was tried: such a lock is not waited for.
bool open(lock* pl, const char* name, bool must_exist, unsigned initial) {
    bool creating = false;
    for (;;) {
        pl->semaphore = creating ? ::sem_open(name, O_CREAT, 0640, initial) : ::sem_open(name, 0);
        if (pl->semaphore != SEM_FAILED) {
            return creating;
        }
        int const error = errno;
        if (error == EINTR) {
            trace("%d EINTR opening semaphore, try again.\n", ::getpid());
        } else if (error != EACCES && error != ENOENT) {
            trace("%d Error opening semaphore: %s\n", ::getpid(), std::strerror(error));
            pl->error = error;
            return creating;
        } else if (must_exist || creating) {
            trace("%d EACCESS creating semaphore, fail\n", ::getpid());
            pl->error = error;
            return creating;
        } else {
            trace("%d EACCESS opening semaphore, trying again\n", ::getpid());
            creating = true;
        }
    }
}

const char* nameOf(const lock* pl) { return private_str_text_or_empty(pl->name); }

} // namespace

lock* lock_init(const char* name, int must_exist, int acquire) {
    auto* pl = static_cast<lock*>(memory_allocate(sizeof(lock)));
    pl->name = str_from_cstr(name);
    bool const created = open(pl, name != nullptr ? name : "", must_exist != 0, acquire != 0 ? 0 : 1);
    if (acquire != 0 && !created) {
        lock_acquire(pl, 0);
    }
    trace("%d semaphore %s:%p\n", ::getpid(), nameOf(pl), static_cast<void*>(pl->semaphore));
    return pl;
}

void lock_uninit(lock* pl) {
    if (pl->acquired != 0) {
        lock_release(pl);
    }
    guarded(pl, ::sem_close);
    str_uninit(pl->name);
    memory_free(pl);
}

int lock_acquire(lock* pl, long timeout) {
    if (pl->acquired++ != 0) {
        return 0;
    }
    if (timeout == 0) {
        return persistent(pl, ::sem_wait);
    }
    for (;;) {
        if (guarded(pl, ::sem_trywait) == 0) {
            return 0;
        }
        if (errno == EAGAIN) {
            ::usleep(pollMicroseconds);
            timeout -= pollMicroseconds;
        } else if (errno != EINTR) {
            return -1;
        }
        if (timeout < 1) {
            return -1;
        }
    }
}

int lock_acquire_if_available(lock* pl) { return persistent(pl, ::sem_trywait); }

void lock_release(lock* pl) {
    if (pl->acquired < 1) {
        trace("%d !!!!! Error,  extra release for lock %p: %d\n", ::getpid(), static_cast<void*>(pl),
              pl->acquired);
    }
    ORBU_ASSERT(pl->acquired > 0);
    if (--pl->acquired == 0) {
        guarded(pl, ::sem_post);
    }
}

int lock_errno(const lock* pl) { return pl->semaphore != SEM_FAILED ? 0 : pl->error; }

str* lock_name(const lock* pl) { return str_dup(pl->name); }

void lock_destroy(lock* pl) {
    trace("%d lock destroy: %p %s\n", ::getpid(), static_cast<void*>(pl->semaphore), nameOf(pl));
    if (::sem_unlink(nameOf(pl)) != 0) {
        int const error = errno;
        trace("%d sem_unlink failed with %d:%s", ::getpid(), error, std::strerror(error));
    }
}
