#include "qmx/qmxPipeEndpoint.h"

#include "orbuutil/c_assert.h"
#include "orbuutil/c_listPrivate.h"
#include "orbuutil/c_strPrivate.h"
#include "orbuutil/tlist.h"
#include "qmx/qmxLogPrivate.h"
#include "qmx/qmxPipeFile.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string>

namespace {

constexpr long readSize = 4096;

void letGo(QMXPipeIODevice* device) {
    if (device != nullptr) {
        device->dereference();
    }
}

QMXPipeIODevice* take(QMXPipeIODevice* device) {
    if (device != nullptr) {
        device->reference();
    }
    return device;
}

// Reads bytes as ASCII text, in place: everything from the first NUL byte on goes, and a byte that is none
// becomes "?". Gives the length of the text.
long readAsAscii(unsigned char* bytes, long length) {
    if (void const* nul = std::memchr(bytes, 0, static_cast<size_t>(length))) {
        length = static_cast<unsigned char const*>(nul) - bytes;
    }
    std::replace_if(
        bytes, bytes + length, [](unsigned char byte) { return byte >= 0x80; },
        static_cast<unsigned char>('?'));
    return length;
}

} // namespace

QMXPipeEndpoint::QMXPipeEndpoint(QMXPipeIODevice& device, EndpointMode mode)
    : QMXPipeEndpoint(&device, mode) {}

QMXPipeEndpoint::QMXPipeEndpoint(QMXPipeIODevice* device, EndpointMode mode)
    : mpDevice(take(device)), mMode(mode) {}

QMXPipeEndpoint::QMXPipeEndpoint(QMXPipeEndpoint const& other)
    : QMXPipeBase(other), mpDevice(take(other.mpDevice)), mMode(other.mMode) {}

QMXPipeEndpoint& QMXPipeEndpoint::operator=(QMXPipeEndpoint const& other) {
    if (this != &other) {
        QMXPipeIODevice* old = mpDevice;
        mpDevice = take(other.mpDevice);
        mMode = other.mMode;
        letGo(old);
    }
    return *this;
}

QMXPipeEndpoint::~QMXPipeEndpoint() { letGo(mpDevice); }

void QMXPipeEndpoint::close() {
    if (mpDevice != nullptr) {
        mpDevice->close();
    }
}

bool QMXPipeEndpoint::operator==(QMXPipeEndpoint const& other) const {
    return mpDevice == other.mpDevice && mMode == other.mMode;
}

bool QMXPipeEndpoint::isOpen() const { return mpDevice != nullptr && mpDevice->isOpen(); }

QMXPipeEndpoint QMXPipeEndpoint::fromFD(int fd, int mode) {
    EndpointMode kind = EndpointNone;
    if ((mode & PipeModeRead) != 0) {
        kind = EndpointRead;
    } else if ((mode & PipeModeWrite) != 0) {
        kind = EndpointWrite;
    } else {
        // "%d" is no placeholder of ours: it stands in the message as it is.
        qmxLogError("Could not determine Endpoint to use for mode %d");
        assert_failed("fromFD", "qmxPipeEndpoint", 130, "false");
    }
    return QMXPipeEndpoint(QMXPipeFileFromFD(fd, mode), kind);
}

struct QMXPipeReadEndpointData {
    TList<TStr> lines;   // pending, in order of arrival; all of them ASCII
    long characters = 0; // in all pending lines
    unsigned char buffer[readSize];

    void append(char const* text, long length) {
        TStr const line(text, length, STR_ASCII);
        list_push(lines.handle(), &line);
        characters += length;
    }

    TStr* takeFirst() {
        auto* first = static_cast<TStr*>(list_shift(lines.handle()));
        characters -= first != nullptr ? first->length() : 0;
        return first;
    }

    // Cuts the text at line feeds. What stands behind the last one is a line as well.
    void appendLines(char const* text, long length) {
        char const* const end = text + length;
        while (text < end) {
            void const* feed = std::memchr(text, '\n', static_cast<size_t>(end - text));
            if (feed == nullptr) {
                append(text, end - text);
                break;
            }
            char const* stop = static_cast<char const*>(feed);
            append(text, stop - text);
            text = stop + 1;
        }
    }
};

QMXPipeReadEndpoint::QMXPipeReadEndpoint() : mpData(new QMXPipeReadEndpointData) {}

QMXPipeReadEndpoint::QMXPipeReadEndpoint(QMXPipeIODevice& device) : QMXPipeReadEndpoint(&device) {}

QMXPipeReadEndpoint::QMXPipeReadEndpoint(QMXPipeIODevice* device)
    : QMXPipeEndpoint(device, EndpointRead), mpData(new QMXPipeReadEndpointData) {}

QMXPipeReadEndpoint::QMXPipeReadEndpoint(QMXPipeReadEndpoint const& other)
    : QMXPipeEndpoint(other), mpData(new QMXPipeReadEndpointData) {}

QMXPipeReadEndpoint& QMXPipeReadEndpoint::operator=(QMXPipeReadEndpoint const& other) {
    if (this != &other) {
        QMXPipeEndpoint::operator=(other);
    }
    return *this;
}

QMXPipeReadEndpoint::~QMXPipeReadEndpoint() { delete mpData; }

bool QMXPipeReadEndpoint::operator==(QMXPipeReadEndpoint const& other) const {
    return list_equal(mpData->lines.handle(), other.mpData->lines.handle()) != 0 &&
           QMXPipeEndpoint::operator==(other);
}

// A full buffer means that there may be more; a short read means that the device is drained for now. With
// nothing to read this is one failing read, and nothing is allocated.
void QMXPipeReadEndpoint::bufferData() {
    if (device() == nullptr) {
        return;
    }
    unsigned char* const buffer = mpData->buffer;
    char const* const text = reinterpret_cast<char const*>(buffer);
    long got = device()->read(buffer, readSize);
    if (got < readSize) {
        if (got > 0) {
            mpData->appendLines(text, readAsAscii(buffer, got));
        }
        return;
    }
    std::string all;
    while (got > 0) {
        all.append(text, static_cast<size_t>(readAsAscii(buffer, std::min(got, readSize))));
        got = got < readSize ? 0 : device()->read(buffer, readSize);
    }
    mpData->appendLines(all.data(), static_cast<long>(all.size()));
}

bool QMXPipeReadEndpoint::canReadLine() {
    bufferData();
    return list_is_empty(mpData->lines.handle()) == 0;
}

long QMXPipeReadEndpoint::bytesAvailable() {
    bufferData();
    return mpData->characters;
}

TStr QMXPipeReadEndpoint::readLine() {
    bufferData();
    std::unique_ptr<TStr> const first(mpData->takeFirst());
    return first != nullptr ? *first : TStr("");
}

TStr* QMXPipeReadEndpoint::takeText() {
    bufferData();
    return mpData->characters > 0 ? mpData->takeFirst() : nullptr;
}

TStr QMXPipeReadEndpoint::read() {
    bufferData();
    std::string all;
    for (list_entry* entry = list_head(mpData->lines.handle()); entry != nullptr; entry = entry->next) {
        if (entry->previous != nullptr) {
            all += '\n';
        }
        TStr const& line = *static_cast<TStr const*>(entry->value);
        all.append(line.toUtf8(), static_cast<size_t>(line.length()));
    }
    list_clear(mpData->lines.handle());
    mpData->characters = 0;
    return TStr(all.data(), static_cast<long>(all.size()), STR_ASCII);
}

long QMXPipeReadEndpoint::read(unsigned char* data, long length) {
    return device() != nullptr ? device()->read(data, length) : -1;
}

QMXPipeReadEndpoint QMXPipeReadEndpoint::fromFD(int fd) {
    return QMXPipeReadEndpoint(QMXPipeFileFromFD(fd, PipeModeRead | PipeModeNonBlock));
}

QMXPipeWriteEndpoint::QMXPipeWriteEndpoint() : QMXPipeWriteEndpoint(nullptr) {}

QMXPipeWriteEndpoint::QMXPipeWriteEndpoint(QMXPipeIODevice& device)
    : QMXPipeEndpoint(device, EndpointWrite) {}

QMXPipeWriteEndpoint::QMXPipeWriteEndpoint(QMXPipeIODevice* device)
    : QMXPipeEndpoint(device, EndpointWrite) {}

long QMXPipeWriteEndpoint::write(TStr const& text) {
    if (device() == nullptr) {
        return -1;
    }
    long const result = device()->write(private_str_text_or_empty(text.handle()));
    device()->flush();
    return result;
}

long QMXPipeWriteEndpoint::write(char const* data, long length) {
    if (device() == nullptr) {
        return -1;
    }
    long const result = device()->write(static_cast<void const*>(data), length);
    device()->flush();
    return result;
}

bool QMXPipeWriteEndpoint::open() { return device() != nullptr && (device()->isOpen() || device()->open(0)); }

QMXPipeWriteEndpoint QMXPipeWriteEndpoint::fromFD(int fd) {
    return QMXPipeWriteEndpoint(QMXPipeFileFromFD(fd, PipeModeWrite | PipeModeAppend));
}
