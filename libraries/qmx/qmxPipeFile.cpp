#include "qmx/qmxPipeFile.h"

#include "qmx/qmxLogPrivate.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

template class TList<QMXPipeIODevice*>;

namespace {

constexpr long bufferSize = 4096;
constexpr mode_t filePermission = 0660;

// Adds O_NONBLOCK to a descriptor that is read by polling.
void makeNonBlocking(int descriptor) {
    int const flags = fcntl(descriptor, F_GETFL);
    if (flags >= 0) {
        fcntl(descriptor, F_SETFL, flags | O_NONBLOCK);
    }
}

// A stream for the descriptor, left unused and never closed: closing it would close the descriptor.
void makeUnusedStream(int descriptor, int mode) {
    static_cast<void>(fdopen(descriptor, QMXPipeIODevice::fopenModeOf(mode)));
}

} // namespace

struct QMXPipeFileData {
    int descriptor = -1;
    TStr path;
    bool closeOnDestroy = false;
    unsigned char buffer[bufferSize] = {}; // held and copied; no operation reads through it
    long length = 0;
    bool closed = false; // the descriptor's 0 stands for a closed one and is not to be used
};

QMXPipeFile::QMXPipeFile(int fd, int mode, bool closeOnDestroy) : mpData(new QMXPipeFileData) {
    mpData->descriptor = fd;
    mpData->closeOnDestroy = closeOnDestroy;
    makeUnusedStream(fd, mode);
    if ((mode & PipeModeRead) != 0) {
        makeNonBlocking(fd);
    }
}

QMXPipeFile::QMXPipeFile(TStr const& path, int mode, bool closeOnDestroy) : mpData(new QMXPipeFileData) {
    mpData->path = path;
    mpData->closeOnDestroy = closeOnDestroy;
    QMXPipeFile::open(mode);
}

QMXPipeFile::QMXPipeFile(QMXPipeFile const& other) : QMXPipeIODevice(other), mpData(new QMXPipeFileData) {
    mpData->descriptor = other.mpData->descriptor;
    mpData->closed = other.mpData->closed;
    std::memcpy(mpData->buffer, other.mpData->buffer, sizeof mpData->buffer);
    mpData->length = other.mpData->length;
}

QMXPipeFile& QMXPipeFile::operator=(QMXPipeFile const& other) {
    if (this != &other) {
        mpData->descriptor = other.mpData->descriptor;
        mpData->closed = other.mpData->closed;
    }
    return *this;
}

QMXPipeFile::~QMXPipeFile() {
    if (mpData->closeOnDestroy) {
        QMXPipeFile::close();
    }
    delete mpData;
}

long QMXPipeFile::write(void const* data, long length) {
    if (mpData->closed) {
        return -1;
    }
    return ::write(mpData->descriptor, data, static_cast<size_t>(length));
}

long QMXPipeFile::write(char const* text) { return write(text, static_cast<long>(std::strlen(text))); }

long QMXPipeFile::read(void* data, long length) {
    if (mpData->closed) {
        return -1;
    }
    return ::read(mpData->descriptor, data, static_cast<size_t>(length));
}

bool QMXPipeFile::isOpen() { return mpData->descriptor >= 0; }

bool QMXPipeFile::open(int mode) {
    char const* path = mpData->path.toUtf8();
    mpData->descriptor = ::open(path != nullptr ? path : "", openFlagsOf(mode), filePermission);
    mpData->closed = false;
    if (mpData->descriptor < 0) {
        qmxLogError("Could not open file %1 : %2", mpData->path, static_cast<long>(errno));
        return false;
    }
    if ((mode & PipeModeRead) != 0) {
        makeNonBlocking(mpData->descriptor);
    }
    return true;
}

void QMXPipeFile::flush() {}

bool QMXPipeFile::canReadLine() { return false; }

TStr QMXPipeFile::readLine() { return TStr(""); }

long QMXPipeFile::bytesAvailable() { return 0; }

int QMXPipeFile::handle() { return mpData->descriptor; }

void QMXPipeFile::close() {
    qmxLogDebug("closing file %1 with fd %2", mpData->path, static_cast<long>(mpData->descriptor));
    if (mpData->descriptor > 0) {
        ::close(mpData->descriptor);
        mpData->descriptor = 0;
    }
    mpData->closed = true;
    mpData->closeOnDestroy = false;
}

QMXPipeFile* QMXPipeFileFromFD(int fd, int mode) { return new QMXPipeFile(fd, mode, false); }

TList<QMXPipeIODevice*> createPipeDevicePair() {
    TList<QMXPipeIODevice*> pair;
    int readFd = -1;
    int writeFd = -1;
    if (createPipeFDPair(readFd, writeFd)) {
        QMXPipeIODevice* reader = new QMXPipeFile(readFd, PipeModeRead | PipeModeNonBlock, false);
        QMXPipeIODevice* writer = new QMXPipeFile(writeFd, PipeModeWrite, false);
        list_push(pair.handle(), &reader);
        list_push(pair.handle(), &writer);
    }
    return pair;
}

bool createPipeFDPair(int& readFd, int& writeFd) {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        return false;
    }
    readFd = ends[0];
    writeFd = ends[1];
    return true;
}
