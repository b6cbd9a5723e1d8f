// QMXPipeIODevice: what an endpoint reads from and writes to.
//
// - Ownership: a device counts its endpoints. A new one has count 0; the first endpoint takes it over, and
//   the last one to let go destroys it. The count is not the one of QMXBase: retain() and release() play no
//   part.
// - Reading never blocks: a device opened or adopted for reading is put in non-blocking mode, since all input
//   is polled on the caller's thread.
// - Results: bytes as read(2) and write(2) count them, -1 for an error. Nothing is retried or reported.
// - Threads: one thread at a time, together with its endpoints. lock() and unlock() do nothing.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxPipeBase.h"

// How a device is opened: bits, added up. Without PipeModeWrite a device is read-only; no device does both.
enum PipeMode {
    PipeModeRead = 1,      // O_NONBLOCK is set once the descriptor is there
    PipeModeWrite = 2,     // O_WRONLY
    PipeModeAppend = 4,    // O_APPEND
    PipeModeCreate = 8,    // O_CREAT
    PipeModeNonBlock = 16, // O_NONBLOCK at the open itself
};

class ORBU_EXPORT QMXPipeIODevice : public QMXPipeBase {
public:
    QMXPipeIODevice() = default;
    // A copy starts with the source's reference count as it stands.
    QMXPipeIODevice(QMXPipeIODevice const& other);
    QMXPipeIODevice& operator=(QMXPipeIODevice const& other);
    ~QMXPipeIODevice() override;

    // Bytes written, or -1.
    virtual long write(void const* data, long length) = 0;
    // The same for a terminated text, without its terminator.
    virtual long write(char const* text) = 0;
    // Bytes read; 0 at the end; -1 for an error, and when nothing is there now. 0 in this class.
    virtual long read(void* data, long length);
    virtual bool isOpen() = 0;
    // Opens by the stored path, with PipeMode bits.
    virtual bool open(int mode) = 0;
    virtual void flush() = 0;
    virtual bool canReadLine() = 0;
    virtual TStr readLine() = 0;
    virtual long bytesAvailable() = 0;
    // The descriptor.
    virtual int handle() = 0;
    virtual void close() = 0;

    // Take and give back one reference. At 0 the device is destroyed; both give the new count.
    long reference();
    long dereference();

    // The mode for fdopen(3): "w" with PipeModeWrite, else "r".
    static char const* fopenModeOf(int mode);
    // The flags for open(2).
    static int openFlagsOf(int mode);
    // Sharing between openers: 0, nothing to ask for on this platform.
    static int shareModeOf(int mode);

private:
    long mReferences = 0;
};
