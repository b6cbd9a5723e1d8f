#include "rows.h"

#include "orbuutil/tlist.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxDictionary.h"
#include "qmx/qmxPipePacket.h"

#include <benchmark/benchmark.h>

#ifdef ORBU_PEER_NLOHMANN
#include <nlohmann/json.hpp>
#endif
#ifdef ORBU_PEER_RAPIDJSON
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif

// A request with 8 attributes (4 short strings, 2 longs, a double, a list of 3): built, written as text, and
// read from that text.

namespace {

void ours(benchmark::State& state) {
    for (auto _ : state) {
        QMXPipePacket packet("orbu.ErrorDialog", nullptr, QMXPipe::Synchronous);
        packet.setSessionId(12);
        packet.setPartnerSessionId(11);
        packet.setAttribute("selector", TStr("error"));
        packet.setAttribute("locale", TStr("en_GB"));
        packet.setAttribute("caption", TStr("Cannot open"));
        packet.setAttribute("text", TStr("The file is in use"));
        packet.setAttribute("code", 4711L);
        packet.setAttribute("parent", 123456789L);
        TList<TStr> buttons;
        for (const char* label : {"Retry", "Ignore", "Cancel"}) {
            const TStr button(label);
            list_push(buttons.handle(), &button);
        }
        packet.setAttribute("buttons", buttons);
        QMXDictionary more;
        more.set("scale", 1.25);
        packet.updateAttributes(more);
        const TStr line = packet.marshal(true);

        QMXPipePacket received;
        received.unmarshal(line);
        benchmark::DoNotOptimize(received.sessionId());
    }
}

#ifdef ORBU_PEER_NLOHMANN
void withNlohmann(benchmark::State& state) {
    for (auto _ : state) {
        nlohmann::json packet;
        packet["name"] = "orbu.ErrorDialog";
        packet["session"] = 12;
        packet["partner"] = 11;
        nlohmann::json& attributes = packet["attributes"];
        attributes["selector"] = "error";
        attributes["locale"] = "en_GB";
        attributes["caption"] = "Cannot open";
        attributes["text"] = "The file is in use";
        attributes["code"] = 4711L;
        attributes["parent"] = 123456789L;
        nlohmann::json buttons = nlohmann::json::array();
        for (const char* label : {"Retry", "Ignore", "Cancel"}) {
            buttons.push_back(label);
        }
        attributes["buttons"] = buttons;
        attributes["scale"] = 1.25;
        const std::string line = packet.dump();

        const nlohmann::json received = nlohmann::json::parse(line);
        benchmark::DoNotOptimize(received.size());
    }
}
#endif

#ifdef ORBU_PEER_RAPIDJSON
void withRapidjson(benchmark::State& state) {
    for (auto _ : state) {
        rapidjson::Document packet(rapidjson::kObjectType);
        auto& allocator = packet.GetAllocator();
        // Copies, as the packet makes them.
        const auto text = [&](const char* value) { return rapidjson::Value(value, allocator); };
        packet.AddMember("name", text("orbu.ErrorDialog"), allocator);
        packet.AddMember("session", 12, allocator);
        packet.AddMember("partner", 11, allocator);
        rapidjson::Value attributes(rapidjson::kObjectType);
        attributes.AddMember(text("selector"), text("error"), allocator);
        attributes.AddMember(text("locale"), text("en_GB"), allocator);
        attributes.AddMember(text("caption"), text("Cannot open"), allocator);
        attributes.AddMember(text("text"), text("The file is in use"), allocator);
        attributes.AddMember(text("code"), rapidjson::Value(4711), allocator);
        attributes.AddMember(text("parent"), rapidjson::Value(123456789), allocator);
        rapidjson::Value buttons(rapidjson::kArrayType);
        for (const char* label : {"Retry", "Ignore", "Cancel"}) {
            buttons.PushBack(text(label), allocator);
        }
        attributes.AddMember(text("buttons"), buttons, allocator);
        attributes.AddMember(text("scale"), rapidjson::Value(1.25), allocator);
        packet.AddMember("attributes", attributes, allocator);
        rapidjson::StringBuffer line;
        rapidjson::Writer<rapidjson::StringBuffer> writer(line);
        packet.Accept(writer);

        rapidjson::Document received;
        received.Parse(line.GetString());
        benchmark::DoNotOptimize(received.MemberCount());
    }
}
#endif

} // namespace

void registerPacketRows() {
    benchmark::RegisterBenchmark("packet8/ours", ours);
#ifdef ORBU_PEER_NLOHMANN
    benchmark::RegisterBenchmark("packet8/nlohmann", withNlohmann);
#endif
#ifdef ORBU_PEER_RAPIDJSON
    benchmark::RegisterBenchmark("packet8/rapidjson", withRapidjson);
#endif
}
