#include "orbuutil/orbuFileLock.h"

#include <fcntl.h>
#include <unistd.h>

OrbuFileLock::~OrbuFileLock() {
    if (fd != -1) {
        OrbuFileLock::UnLock();
        OrbuFileLock::Close();
        locked = false;
    }
}

bool OrbuFileLock::Open(TStr const& wanted) {
    if (wanted.isEmpty()) {
        return false;
    }
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be the text that Close clears
    TStr const copy = wanted;
    const char* const utf8 = copy.toUtf8();
    if (utf8 == nullptr) {
        return false;
    }
    if (fd != -1) {
        this->Close();
    }
    fd = ::open(utf8, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd == -1) {
        return false;
    }
    path = copy;
    return true;
}

bool OrbuFileLock::Close() {
    if (fd == -1) {
        return false;
    }
    ::close(fd);
    path.clear();
    fd = -1;
    locked = false; // the lock goes with the descriptor
    return true;
}

bool OrbuFileLock::Lock() {
    locked = fd != -1 && ::lockf(fd, F_LOCK, 0) == 0;
    return locked;
}

bool OrbuFileLock::UnLock() {
    if (fd == -1 || !locked) {
        return true;
    }
    if (::lockf(fd, F_ULOCK, 0) != 0) {
        return false;
    }
    locked = false;
    return true;
}

bool OrbuFileLock::IsLocked() const { return locked; }
