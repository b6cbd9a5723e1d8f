// QMXPipeFile: the device over a descriptor, and the makers of pipes.
//
// A raw device: lines exist only in QMXPipeReadEndpoint, so canReadLine(), readLine() and bytesAvailable()
// give false, an empty text and 0. Ownership as in qmxPipeIODevice.h. Destroying a device closes its
// descriptor only when it was made with closeOnDestroy; otherwise who made the descriptor closes it, or calls
// close().
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxPipeIODevice.h"

struct QMXPipeFileData;

class ORBU_EXPORT QMXPipeFile : public QMXPipeIODevice {
public:
    // Adopts a descriptor; with PipeModeRead it becomes non-blocking. Also gives the descriptor a stream
    // (fdopen(3)) which is left unused and is never closed.
    QMXPipeFile(int fd, int mode, bool closeOnDestroy);
    // Stores the path and calls open(mode).
    QMXPipeFile(TStr const& path, int mode, bool closeOnDestroy);
    // Shares the descriptor without owning it: the copy has no path and never closes.
    QMXPipeFile(QMXPipeFile const& other);
    // Takes the descriptor and nothing else.
    QMXPipeFile& operator=(QMXPipeFile const& other);
    ~QMXPipeFile() override;

    // One write(2) or read(2), its result as it stands; -1 once the device was closed.
    long write(void const* data, long length) override;
    long write(char const* text) override;
    long read(void* data, long length) override;

    // The descriptor is not negative: true also after close(), which leaves 0 there. Hosts depend on it.
    bool isOpen() override;
    // open(2) on the path with permission 0660. False, and descriptor -1, when it fails, which is reported.
    bool open(int mode) override;
    void flush() override;
    bool canReadLine() override;
    TStr readLine() override;
    long bytesAvailable() override;
    int handle() override;
    // Closes the descriptor, unless it is 0 or there is none, and stores 0. Destruction will not close it
    // again.
    void close() override;

private:
    QMXPipeFileData* mpData;
};

// A new device that does not own the descriptor: QMXPipeFile(fd, mode, false).
ORBU_EXPORT QMXPipeFile* QMXPipeFileFromFD(int fd, int mode);

// A new pipe as two devices, the reading one first; neither closes its descriptor when destroyed. The caller
// gives each to an endpoint. The list is empty when pipe(2) fails.
ORBU_EXPORT TList<QMXPipeIODevice*> createPipeDevicePair();

// A new pipe as two descriptors, which the caller closes. False, and nothing stored, when pipe(2) fails.
ORBU_EXPORT bool createPipeFDPair(int& readFd, int& writeFd);

extern template class TList<QMXPipeIODevice*>;
