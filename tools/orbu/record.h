// Reads back what --trace wrote.
#pragma once

#include "observer.h"
#include "qmx/qmxPipePacket.h"

#include <memory>
#include <string>
#include <vector>

struct ReleasePacket {
    void operator()(QMXPipePacket* packet) const { packet->release(); }
};
using PacketHolder = std::unique_ptr<QMXPipePacket, ReleasePacket>;

// The requests of a record ("-" is standard input), in their order and with the session ids taken off: the
// lines behind "> ", but for answers and for the packets that begin and end a conversation, which each has of
// its own. Throws Failure (bad data) if there is none or one cannot be read, and naming the line.
std::vector<PacketHolder> read_record(std::string const& file, Observer& observer);
