#include "orbuutil/tstrList.h"
#include "qmx/qmxPipePacket.h"
#include "support/model.h"

#include <gtest/gtest.h>

namespace {

// The line with the ids as they stand.
std::string lineOf(QMXPipePacket const& packet) { return textOf(packet.marshal(false)); }

TEST(Packet, NamesAreCutAtTheFirstPoint) {
    char const* const cases[][4] = {
        {"orbu.ErrorDialog", "orbu", "ErrorDialog", "orbu.ErrorDialog"},
        {"ping", "ping", "", "ping."},
        {"a.b.c", "a", "b.c", "a.b.c"},
        {".x", "", "x", ".x"},
        {"\xC3\xA9\xC3\xA9.x", "\xC3\xA9\xC3\xA9", "x", "\xC3\xA9\xC3\xA9.x"},
        {"", "", "", "."},
    };
    for (auto const& [name, facility, code, both] : cases) {
        SCOPED_TRACE(name);
        QMXPipePacket packet("was.there", nullptr, QMXPipe::SynchronicityDefault);
        packet.setFacilityAndCode(name);
        EXPECT_EQ(textOf(packet.facility()), facility);
        EXPECT_EQ(textOf(packet.code()), code);
        EXPECT_EQ(textOf(packet.facilityAndCode()), both);
        EXPECT_EQ(packet.isNull(), *code == 0);
    }
    // Never named: empty and not null, so that it can be sent back as an attribute.
    EXPECT_EQ(textOf(QMXPipePacket(QMXPipe::SynchronicityDefault).code()), "");
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
    const TStr line = packet.marshal(true);
    Reports reports(true);
    other.unmarshal(line);
    EXPECT_EQ(reports.take(), Texts{"Packet Unmarshalling:" + textOf(line)});
    EXPECT_EQ(textOf(packet.marshal(true)), textOf(line));
    EXPECT_EQ(reports.take(), Texts{"Packet Marshalled:" + textOf(line)});
    QMXBase::setLogSink(nullptr, nullptr);
    EXPECT_EQ(textOf(other.marshal(true)), lineOf(packet));

    // What stands under a literal path goes where that leads, in a copy as in an assignment.
    QMXPipePacket odd(QMXPipe::SynchronicityDefault);
    odd.setAttribute("a.l", 1);
    odd.setAttribute("a", QMXDictionary());
    EXPECT_EQ(lineOf(odd), "65536;.;0;0;0;0;a=i;");
    EXPECT_EQ(lineOf(QMXPipePacket(odd)), "65536;.;0;0;0;0;a=il!3dd1");
}

TEST(Packet, ReadsAnyLine) {
    // The line, and that of a packet "was.there" with the attribute old=d1 afterwards.
    std::pair<char const*, char const*> const cases[] = {
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
        // A position counts characters where the cut counts bytes.
        {"65536;a.b;1;2;3;2;\xC3\xA9=d1;k=d2;l=d3", "65536;a.b;1;2;3;2;;l=d3;\xC3\xA9==a;old=d1"},
        {"65536;a.b;1;2;3;2;old=hnew", "65536;a.b;1;2;3;2;old=hnew"},
    };
    for (auto const& [line, result] : cases) {
        SCOPED_TRACE(line);
        QMXPipePacket packet("was.there", nullptr, QMXPipe::SynchronicityDefault);
        packet.setAttribute("old", 1);
        packet.unmarshal(line);
        EXPECT_EQ(lineOf(packet), result);
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
    packet.setAttribute("t", listOf({"a", "b"}));
    packet.setAttribute("d", nested);
    nested.set("in", 2L);

    // Which of: any, int, string, list, dictionary.
    const std::pair<char const*, char const*> cases[] = {
        {"s", "* s  "}, {"l", "*i   "}, {"t", "*  t "}, {"d", "*   d"}, {"none", "     "}, {"d.in", "*i   "},
    };
    for (auto const& [name, kinds] : cases) {
        const bool has[] = {packet.hasAttribute(name), packet.hasIntAttribute(name),
                            packet.hasStringAttribute(name), packet.hasStringListAttribute(name),
                            packet.hasDictionaryAttribute(name)};
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(has[i], kinds[i] != ' ') << name << " " << i;
        }
    }
    EXPECT_EQ(packet.attributeAsInt("l"), 5);
    EXPECT_EQ(packet.attributeAsDictionary("d").getLong("in"), 1);
    EXPECT_EQ(textsOf(packet.attributeAsDictionary("none").keys()), Texts());
    packet.attributes().set("l", 0L); // a copy
    EXPECT_EQ(packet.attributeAsLong("l"), 1L << 40 | 5);
}

TEST(Packet, MadeFromWhatAPersonTypes) {
    std::pair<char const*, char const*> const cases[] = {
        {"", "65536;test.ping;0;0;0;2"},
        {"a.b", "65536;a.b;0;0;0;2"},
        {"a.b\nk=v\nnoequals\n=x\n\ne=", "65536;a.b;0;0;0;2;k=hv;e=h"},
        {"a\nk=x=y\nk=12", "65536;a.;0;0;0;2;k=h12"},
    };
    for (auto const& [typed, line] : cases) {
        SCOPED_TRACE(typed);
        Texts words = {"program"};
        for (std::string const& word : textsOf(stringSplit(typed, "\n"))) {
            words.push_back(word == "<null>" ? "" : word);
        }
        std::vector<char*> argv;
        for (std::string& word : words) {
            argv.push_back(word.data());
        }
        for (QMXPipePacket* packet :
             {QMXPipePacket::packetFromString(typed),
              QMXPipePacket::packetFromCommandLine(static_cast<int>(argv.size()), argv.data())}) {
            EXPECT_EQ(lineOf(*packet), line);
            EXPECT_EQ(packet->release(), 0);
        }
    }
}

} // namespace
