#include "qmx/qmxBase.h"

#include "orbuutil/tstr.h"
#include "qmx/qmxLogPrivate.h"

#include <cstdio>

constinit private_qmx_log_state private_qmx_log = {nullptr, nullptr};

QMXBase::QMXBase() : mpReference(new Reference{1, 0}) {}

QMXBase::QMXBase(QMXBase const&) : QMXBase() {}

// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): nothing is assigned
QMXBase& QMXBase::operator=(QMXBase const&) { return *this; }

QMXBase::~QMXBase() { delete mpReference; }

long QMXBase::lock(long) { return 0; }

void QMXBase::unlock() {}

void QMXBase::retain() { mpReference->count += 1; }

long QMXBase::release() {
    const long count = --mpReference->count;
    if (count == 0) {
        delete this;
    }
    return count;
}

long QMXBase::allocatedBytes() { return QMXBasePrivate::mAllocatedBytes.value(); }

void QMXBase::incrementAllocatedBytes(long bytes) {
    QMXBasePrivate::mAllocatedBytes.increment(bytes);
    QMXBasePrivate::mAllocatedInstances.increment(1);
}

void QMXBase::decrementAllocatedBytes(long bytes) {
    QMXBasePrivate::mAllocatedBytes.decrement(bytes);
    QMXBasePrivate::mAllocatedInstances.decrement(1);
}

void QMXBase::logError(long code, TStr const& message) {
    if (private_qmx_log_wanted()) {
        const TStr text = TStr("Error ") + TStr::number(code, 10) + " " + message;
        private_qmx_log.sink(QMXLogError, text, private_qmx_log.context);
    }
}

void QMXBase::logError(TStr const& message) {
    if (private_qmx_log_wanted()) {
        private_qmx_log.sink(QMXLogError, TStr("Error ") + " " + message, private_qmx_log.context);
    }
}

void QMXBase::logDebug(TStr const& message) {
    if (private_qmx_log_wanted()) {
        private_qmx_log.sink(QMXLogDebug, message, private_qmx_log.context);
    }
}

void QMXBase::setLogSink(QMXLogSink sink, void* context) { private_qmx_log = {sink, context}; }

QMXBaseStaticCounter::QMXBaseStaticCounter(char const* name, long start)
    : mStart(start), mCurrent(start), mpName(name) {}

QMXBaseStaticCounter::~QMXBaseStaticCounter() {
    if (mCurrent != mStart) {
        std::fprintf(stderr,
                     "!!!!! -----------\n!!!!! Counter Discrepancy detected at shutdown in %s: %ld\n!!!!! "
                     "---------\n\n",
                     mpName, mCurrent - mStart);
    }
}

void QMXBaseStaticCounter::increment(long amount) {
    lock(0);
    mCurrent += amount;
    unlock();
}

void QMXBaseStaticCounter::decrement(long amount) {
    lock(0);
    mCurrent -= amount;
    unlock();
}

long QMXBaseStaticCounter::value() {
    lock(0);
    const long result = mCurrent;
    unlock();
    return result;
}

long QMXBaseStaticCounter::difference() {
    lock(0);
    const long result = mCurrent - mStart;
    unlock();
    return result;
}
