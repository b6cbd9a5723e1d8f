// Endpoints: a device as one end of a conversation, read as lines or written as text.
//
// - Ownership: an endpoint holds one reference on its device, and copies of an endpoint share it. An endpoint
//   that goes away does not close the descriptor: close() does, or a device made to close when it is
//   destroyed.
// - Lines: every reading operation first takes in all that the device has. What came in is cut at line feeds,
//   and the rest without a line feed is a line of its own: it is not kept back for what comes later. So a
//   line must be written by one call, and a line longer than a FIFO holds can arrive as several. Bytes are
//   read as ASCII: one of 0x80 or above becomes "?", and a NUL byte drops what was read together with it and
//   stands behind it (up to 4096 bytes).
// - Pending lines belong to one endpoint object. A copy starts without any.
// - Results: errors of the device read as no data; a failed write is told by its result alone.
// - Threads: one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxPipeBase.h"

class QMXPipeIODevice;
struct QMXPipeEngine;
struct QMXPipeReadEndpointData;

class ORBU_EXPORT QMXPipeEndpoint : public QMXPipeBase {
public:
    enum EndpointMode {
        EndpointNone = 0,
        EndpointRead = 1,
        EndpointWrite = 2,
    };

    // Without a device, mode EndpointNone.
    QMXPipeEndpoint() = default;
    QMXPipeEndpoint(QMXPipeIODevice& device, EndpointMode mode);
    // `device` may be null.
    QMXPipeEndpoint(QMXPipeIODevice* device, EndpointMode mode);
    QMXPipeEndpoint(QMXPipeEndpoint const& other);
    QMXPipeEndpoint& operator=(QMXPipeEndpoint const& other);
    ~QMXPipeEndpoint() override;

    // Closes the device, if there is one.
    virtual void close();

    // The same device and the same mode.
    bool operator==(QMXPipeEndpoint const& other) const;

    // There is a device.
    bool isValid() const { return mpDevice != nullptr; }
    // There is a device, and it says that it is open.
    bool isOpen() const;
    // The device, still owned by its endpoints; may be null.
    QMXPipeIODevice* device() const { return mpDevice; }
    EndpointMode mode() const { return mMode; }

    // An endpoint on a new device for the descriptor, which it does not own: for reading if PipeModeRead is
    // set, else for writing if PipeModeWrite is set. With neither the process stops with an assertion.
    static QMXPipeEndpoint fromFD(int fd, int mode);

private:
    QMXPipeIODevice* mpDevice = nullptr;
    EndpointMode mMode = EndpointNone;
};

class ORBU_EXPORT QMXPipeReadEndpoint : public QMXPipeEndpoint {
public:
    QMXPipeReadEndpoint();
    explicit QMXPipeReadEndpoint(QMXPipeIODevice& device);
    explicit QMXPipeReadEndpoint(QMXPipeIODevice* device);
    // Shares the device; the pending lines stay with the source.
    QMXPipeReadEndpoint(QMXPipeReadEndpoint const& other);
    // Takes device and mode; the pending lines of both stay where they are.
    QMXPipeReadEndpoint& operator=(QMXPipeReadEndpoint const& other);
    ~QMXPipeReadEndpoint() override;

    // The same pending lines, device and mode.
    bool operator==(QMXPipeReadEndpoint const& other) const;

    // There is a pending line.
    bool canReadLine();
    // Characters in all pending lines, without line ends: empty lines count 0. Not what waits in the device.
    long bytesAvailable();
    // Takes the first pending line; an empty text if there is none.
    TStr readLine();
    // Takes all pending lines, with a line feed between one and the next.
    TStr read();
    // Straight from the device, past the pending lines. -1 without a device.
    long read(unsigned char* data, long length);

    // An endpoint on a new non-blocking device for the descriptor, which it does not own.
    static QMXPipeReadEndpoint fromFD(int fd);

private:
    friend struct QMXPipeEngine;

    void bufferData();
    // Takes in what the device has and then the first pending line, owned by the caller; null as long as all
    // pending lines are empty.
    TStr* takeText();

    QMXPipeReadEndpointData* mpData;
};

class ORBU_EXPORT QMXPipeWriteEndpoint : public QMXPipeEndpoint {
public:
    // Without a device, and for writing all the same.
    QMXPipeWriteEndpoint();
    explicit QMXPipeWriteEndpoint(QMXPipeIODevice& device);
    explicit QMXPipeWriteEndpoint(QMXPipeIODevice* device);

    // The UTF-8 form of the text up to its first NUL, by one write of the device, which is then flushed. The
    // device's result; -1 without a device.
    long write(TStr const& text);
    // The same for bytes.
    long write(char const* data, long length);

    // True if the device is open, or can be opened by its path.
    bool open();

    // An endpoint on a new device (write, append) for the descriptor, which it does not own.
    static QMXPipeWriteEndpoint fromFD(int fd);
};
