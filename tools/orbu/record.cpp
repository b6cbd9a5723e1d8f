#include "record.h"

#include "attributes.h"
#include "exitCodes.h"
#include "terminal.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

namespace {

constexpr std::string_view kMarker = "> ";
constexpr std::string_view kVersion = "65536;";
constexpr long kHeadFields = 6;

PacketHolder packet_of(std::string const& line, std::string const& where, Observer& observer) {
    PacketHolder packet(new QMXPipePacket(QMXPipe::SynchronicityDefault));
    observer.reset();
    packet->unmarshal(TStr(line.c_str()));
    long const fields = 1 + std::count(line.begin(), line.end(), ';');
    auto const attributes = static_cast<long>(items_of(packet->attributeNames()).size());
    if (!line.starts_with(kVersion) || packet->facility().isEmpty() || fields != kHeadFields + attributes ||
        !observer.bad_value.empty()) {
        throw Failure(ExitBadData, where + ": not a line of the wire");
    }
    packet->setSessionId(0);
    packet->setPartnerSessionId(0);
    return packet;
}

bool belongs_to_every_conversation(QMXPipePacket const& packet) {
    TStr const code = packet.code();
    bool const answer = code == "RESP";
    return answer ||
           (packet.facility() == "system" && (code == "cndCnct" || code == "cndTerm" || code == "ssnTerm"));
}

} // namespace

std::vector<PacketHolder> read_record(std::string const& file, Observer& observer) {
    std::ifstream opened;
    if (file != "-") {
        opened.open(file);
        if (!opened) {
            throw Failure(ExitBadData, file + ": " + std::strerror(errno));
        }
    }
    std::istream& input = file == "-" ? std::cin : opened;
    std::vector<PacketHolder> requests;
    std::string line;
    for (long number = 1; std::getline(input, line); ++number) {
        if (!line.starts_with(kMarker)) {
            continue;
        }
        std::string const where = file + ":" + std::to_string(number);
        PacketHolder packet = packet_of(from_one_line(line.substr(kMarker.size())), where, observer);
        if (!belongs_to_every_conversation(*packet)) {
            requests.push_back(std::move(packet));
        }
    }
    if (requests.empty()) {
        throw Failure(ExitBadData, file + ": no recorded request (a line that begins with \"> \")");
    }
    return requests;
}
