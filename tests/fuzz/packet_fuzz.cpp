// Lines from a FIFO: any bytes are unmarshalled without a crash, and the ids of a line of ASCII survive
// another round (in other text a position counts characters where its offset counts bytes, and fields may
// shift).
#include "qmx/qmxMarshal.h"
#include "qmx/qmxPipePacket.h"
#include "qmx/qmxValue.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const TStr text(data, static_cast<long>(size), STR_UTF8);

    QMXPipePacket packet(QMXPipe::SynchronicityDefault);
    packet.unmarshal(text);
    const TStr line = packet.marshal(false);
    QMXPipePacket again(QMXPipe::SynchronicityDefault);
    again.unmarshal(line);
    const bool ascii = std::all_of(data, data + size, [](std::uint8_t byte) { return byte < 0x80; });
    if (ascii && (again.sessionId() != packet.sessionId() || again.sequence() != packet.sequence()))
        std::abort();

    // What is escaped comes back as it was, up to the first NUL.
    if (unmarshalString(marshalString(text)) != text && !text.isNull())
        std::abort();
    unmarshalString(text);
    unmarshalStringList(text);
    QMXValue::unmarshal(text);
    QMXPipePacket* typed = QMXPipePacket::packetFromString(text);
    typed->release();
    return 0;
}
