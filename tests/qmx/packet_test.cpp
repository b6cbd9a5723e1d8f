#include "orbuutil/c_list.h"
#include "orbuutil/tstrList.h"
#include "qmx/qmxPipePacket.h"
#include "support/model.h"

#include <gtest/gtest.h>

#include <random>

namespace {

// The line with the ids as they stand.
std::string lineOf(QMXPipePacket const& packet) { return textOf(packet.marshal(false)); }

TEST(Packet, NamesAreCutAtTheFirstPoint) {
    struct {
        char const* text;
        char const* facility;
        char const* code;
        char const* both;
    } const cases[] = {
        {"orbu.ErrorDialog", "orbu", "ErrorDialog", "orbu.ErrorDialog"},
        {"ping", "ping", "", "ping."},
        {"a.b.c", "a", "b.c", "a.b.c"},
        {".x", "", "x", ".x"},
        {"\xC3\xA9\xC3\xA9.x", "\xC3\xA9\xC3\xA9", "x", "\xC3\xA9\xC3\xA9.x"},
        {"", "", "", "."},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        QMXPipePacket packet("was.there", nullptr, QMXPipe::SynchronicityDefault);
        packet.setFacilityAndCode(c.text);
        EXPECT_EQ(textOf(packet.facility()), c.facility);
        EXPECT_EQ(textOf(packet.code()), c.code);
        EXPECT_EQ(textOf(packet.facilityAndCode()), c.both);
        EXPECT_EQ(packet.isNull(), *c.code == 0);
    }
    // Never named: empty and not null, so that it can be sent back as an attribute.
    const QMXPipePacket unnamed(QMXPipe::SynchronicityDefault);
    EXPECT_EQ(textOf(unnamed.code()), "");
    EXPECT_EQ(lineOf(unnamed), "65536;.;0;0;0;0");
}

TEST(Packet, LineHoldsAllFieldsAndSwapsTheIds) {
    QMXPipePacket packet("orbu", "ErrorDialog", nullptr, QMXPipe::Synchronous);
    packet.setSessionId(7);
    packet.setPartnerSessionId(-12);
    packet.setSequence(3);
    packet.setAttribute("title", TStr("Hello world"));
    packet.setAttribute("icon", 2);
    EXPECT_EQ(textOf(packet.marshal(true)), "65536;orbu.ErrorDialog;-12;7;3;2;icon=d2;title=hHello!20world");

    QMXPipePacket other(QMXPipe::SynchronicityDefault);
    other.unmarshal(packet.marshal(true));
    EXPECT_EQ(other.sessionId(), -12);
    EXPECT_EQ(other.partnerSessionId(), 7);
    EXPECT_EQ(other.sequence(), 3);
    EXPECT_EQ(other.synchronicity(), QMXPipe::Synchronous);
    EXPECT_EQ(textOf(other.marshal(true)), lineOf(packet));

    QMXPipePacket assigned(QMXPipe::SynchronicityDefault);
    assigned = packet;
    EXPECT_EQ(lineOf(assigned), lineOf(packet));
    EXPECT_EQ(lineOf(QMXPipePacket(packet)), lineOf(packet));
}

TEST(Packet, ReadsAnyLine) {
    struct {
        char const* line;
        char const* result; // the line of a packet "was.there" with the attribute old=d1 afterwards
    } const cases[] = {
        {"65537;a.b;1;2;3;2;k=d1", "65536;was.there;0;0;0;0;old=d1"},
        {"", "65536;was.there;0;0;0;0;old=d1"},
        {";65536;a.b", "65536;was.there;0;0;0;0;old=d1"},
        {" 65536 ;a.b", "65536;a.b;0;0;0;0;old=d1"},
        {"65536", "65536;.;0;0;0;0;old=d1"},
        {"65536;a.b;1;2;3;9", "65536;a.b;1;2;3;9;old=d1"},
        {"65536;a;x;99999999999999999999;-3;", "65536;a.;0;0;-3;0;old=d1"},
        {"65536;;1;;2;2;k=d5", "65536;.;1;0;2;2;k=d5;old=d1"},
        {"65536;a.b;1;2;3;2;;k=d1;k=d2;bad;=d4;x==d1;y=d1=;z=;a.b=d1",
         "65536;a.b;1;2;3;2;;y=d1;;k=d2;old=d1"},
        {"65536;a.b;1;2;3;2;old=hnew", "65536;a.b;1;2;3;2;old=hnew"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.line);
        QMXPipePacket packet("was.there", nullptr, QMXPipe::SynchronicityDefault);
        packet.setAttribute("old", 1);
        packet.unmarshal(c.line);
        EXPECT_EQ(lineOf(packet), c.result);
    }
}

// The fields of a line are those that stringPopFront takes off it, also where that miscounts.
TEST(Packet, FieldsAreThoseOfTheTokenHelpers) {
    std::minstd_rand random(7);
    char const* const pieces[] = {";",  "=",        ".", ",",  "k", "d1",
                                  "hx", "\xC3\xA9", "!", "20", "i", "j!231!3ax"};
    for (int round = 0; round < 3000; ++round) {
        std::string line = "65536;f.c;1;2;3;1;";
        for (unsigned n = random() % 12; n > 0; --n) {
            line += pieces[random() % std::size(pieces)];
        }
        QMXPipePacket packet(QMXPipe::SynchronicityDefault);
        packet.unmarshal(line.c_str());
        QMXDictionary expected;
        TStr rest(line.c_str());
        for (int field = 0; field < 6; ++field) {
            stringPopFront(rest, ";");
        }
        while (!rest.isEmpty()) {
            const TStr item = stringPopFront(rest, ";");
            const TList<TStr> parts = stringSplit(item, "=");
            if (list_count(parts.handle()) == 2) {
                auto const* value = static_cast<TStr const*>(list_entry_value(list_tail(parts.handle())));
                expected.set(*static_cast<TStr const*>(list_entry_value(list_head(parts.handle()))),
                             QMXValue::unmarshal(*value));
            }
        }
        ASSERT_EQ(textOf(packet.attributes().marshal()), textOf(expected.marshal())) << line;
    }
}

TEST(Packet, AttributesByType) {
    QMXPipePacket packet(QMXPipe::Asynchronous);
    QMXDictionary nested;
    nested.set("in", 1L);
    packet.setAttribute("s", "text", true);
    packet.setAttribute("none", TStr());
    packet.setAttribute("none", TStr::null);
    packet.setAttribute("l", 1L << 40 | 5);
    packet.setAttribute("i", -5);
    packet.setAttribute("t", listOf({"a", "b"}));
    packet.setAttribute("d", nested);
    nested.set("in", 2L);

    struct {
        char const* name;
        bool any, number, string, list, dictionary;
    } const cases[] = {
        {"s", true, false, true, false, false},    {"l", true, true, false, false, false},
        {"i", true, true, false, false, false},    {"t", true, false, false, true, false},
        {"d", true, false, false, false, true},    {"none", false, false, false, false, false},
        {"d.in", true, true, false, false, false},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_EQ(packet.hasAttribute(c.name), c.any);
        EXPECT_EQ(packet.hasLongAttribute(c.name), c.number);
        EXPECT_EQ(packet.hasIntAttribute(c.name), c.number);
        EXPECT_EQ(packet.hasStringAttribute(c.name), c.string);
        EXPECT_EQ(packet.hasStringListAttribute(c.name), c.list);
        EXPECT_EQ(packet.hasDictionaryAttribute(c.name), c.dictionary);
    }
    EXPECT_EQ(textOf(packet.attributeAsString("s")), "text");
    EXPECT_EQ(packet.attributeAsLong("l"), 1L << 40 | 5);
    EXPECT_EQ(packet.attributeAsInt("l"), 5);
    EXPECT_EQ(textsOf(packet.attributeAsStringList("t")), (Texts{"a", "b"}));
    EXPECT_EQ(packet.attributeAsDictionary("d").getLong("in"), 1);
    EXPECT_EQ(textsOf(packet.attributeAsDictionary("none").keys()), Texts());

    // Copies do not lead back into the packet.
    packet.attributes().set("l", 0L);
    EXPECT_EQ(packet.attributeAsInt("l"), 5);
    packet.setAttributes(nested);
    packet.updateAttributes(packet.attributes());
    EXPECT_EQ(textsOf(packet.attributeNames()), Texts{"in"});
    EXPECT_EQ(textsOf(packet.attributeValues()), Texts{"2"});
    packet.clearAttributes();
    EXPECT_FALSE(packet.hasAttribute("in"));
}

TEST(Packet, MadeFromWhatAPersonTypes) {
    struct {
        char const* text;
        char const* line;
    } const cases[] = {
        {"", "65536;test.ping;0;0;0;2"},
        {"a.b", "65536;a.b;0;0;0;2"},
        {"a.b\nk=v\nnoequals\n=x\n\ne=", "65536;a.b;0;0;0;2;k=hv;e=h"},
        {"a\nk=x=y\nk=12", "65536;a.;0;0;0;2;k=h12"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.text);
        QMXPipePacket* fromText = QMXPipePacket::packetFromString(c.text);
        EXPECT_EQ(lineOf(*fromText), c.line);
        EXPECT_EQ(fromText->release(), 0);

        std::vector<std::string> words = {"program"};
        const TList<TStr> lines = stringSplit(c.text, "\n");
        for (std::string const& word : textsOf(lines)) {
            words.push_back(word == "<null>" ? "" : word);
        }
        std::vector<char*> argv;
        for (std::string& word : words) {
            argv.push_back(word.data());
        }
        QMXPipePacket* fromWords =
            QMXPipePacket::packetFromCommandLine(static_cast<int>(argv.size()), argv.data());
        EXPECT_EQ(lineOf(*fromWords), c.line);
        EXPECT_EQ(fromWords->release(), 0);
    }
}

TEST(Packet, TellsItsLinesToTheLog) {
    Reports reports(true);
    QMXPipePacket packet("a.b", nullptr, QMXPipe::Synchronous);
    packet.unmarshal(packet.marshal(false));
    EXPECT_EQ(reports.take(),
              (Texts{"Packet Marshalled:65536;a.b;0;0;0;2", "Packet Unmarshalling:65536;a.b;0;0;0;2"}));
}

} // namespace
