#include "orbuutil/tlock.h"

#include "orbuutil/c_lock.h"

TLock::TLock(const TStr& name, bool create, bool acquire)
    : mLock(lock_init(name.toUtf8(), create ? 0 : 1, acquire ? 1 : 0)) {}

TLock::~TLock() { lock_uninit(mLock); }

bool TLock::acquire(long timeout) { return lock_acquire(mLock, timeout) == 0; }

bool TLock::acquireIfAvailable() { return lock_acquire_if_available(mLock) == 0; }

void TLock::release() { lock_release(mLock); }

void TLock::destroy() { lock_destroy(mLock); }

TStr TLock::name() const { return TStr(lock_name(mLock)); }

bool TLock::isValid() const { return lock_errno(mLock) == 0; }
