#include "qmx/qmxPipeIODevice.h"

#include <fcntl.h>

QMXPipeIODevice::QMXPipeIODevice(QMXPipeIODevice const& other)
    : QMXPipeBase(other), mReferences(other.mReferences) {}

// The count belongs to the object: its endpoints stay the same.
QMXPipeIODevice& QMXPipeIODevice::operator=(QMXPipeIODevice const& other) {
    QMXPipeBase::operator=(other);
    return *this;
}

QMXPipeIODevice::~QMXPipeIODevice() = default;

long QMXPipeIODevice::read(void*, long) { return 0; }

long QMXPipeIODevice::reference() { return ++mReferences; }

long QMXPipeIODevice::dereference() {
    long const left = --mReferences;
    if (left == 0) {
        delete this;
    }
    return left;
}

char const* QMXPipeIODevice::fopenModeOf(int mode) { return (mode & PipeModeWrite) != 0 ? "w" : "r"; }

int QMXPipeIODevice::openFlagsOf(int mode) {
    int flags = (mode & PipeModeWrite) != 0 ? O_WRONLY : O_RDONLY;
    if ((mode & PipeModeAppend) != 0) {
        flags |= O_APPEND;
    }
    if ((mode & PipeModeCreate) != 0) {
        flags |= O_CREAT;
    }
    if ((mode & PipeModeNonBlock) != 0) {
        flags |= O_NONBLOCK;
    }
    return flags;
}

int QMXPipeIODevice::shareModeOf(int) { return 0; }
