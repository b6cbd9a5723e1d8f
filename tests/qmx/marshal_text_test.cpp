#include "orbuutil/c_list.h"
#include "orbuutil/tstrList.h"
#include "qmx/qmxBase.h"
#include "qmx/qmxMarshal.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <cctype>
#include <memory>
#include <string>
#include <vector>

namespace {

using support::text;
using support::Texts;
using support::texts;

TList<TStr> listOf(Texts const& items) {
    TList<TStr> list;
    for (const std::string& item : items)
        list_push(list.handle(), std::make_unique<TStr>(item.c_str()).get());
    return list;
}

// Collects what is reported.
class EscapedText : public ::testing::Test {
protected:
    EscapedText() { QMXBase::setLogSink(&EscapedText::take, this); }
    ~EscapedText() override { QMXBase::setLogSink(nullptr, nullptr); }

    const std::string undecodable = "Error  Could not decode escape in string: ";
    std::string report; // what was reported last

private:
    static void take(QMXLogLevel level, TStr const& message, void* self) {
        EXPECT_EQ(level, QMXLogError);
        static_cast<EscapedText*>(self)->report = text(message);
    }
};

TEST_F(EscapedText, EveryByteComesBackFromItsEscape) {
    EXPECT_EQ(text(marshalString("aZ09_- ,!\xC3\xA9\x7F")), "aZ09_-!20!2c!21!c3!a9!7f");
    std::string bytes;
    std::string expected;
    for (int round = 0; round < 20; ++round) {
        for (int byte = 1; byte < 256; ++byte) {
            bytes += static_cast<char>(byte);
            const bool plain = byte < 0x80 && (std::isalnum(byte) != 0 || byte == '_' || byte == '-');
            expected += plain ? std::string(1, bytes.back()) : text(TStr("!%1").arg(byte, 2, 16, '0'));
        }
        const TStr marshalled = marshalString(TStr(bytes.c_str()));
        EXPECT_EQ(text(marshalled), expected);
        EXPECT_EQ(text(unmarshalString(marshalled)), bytes);
    }
    EXPECT_EQ(report, "");
}

TEST_F(EscapedText, DecodingStopsWhereItMust) {
    const struct {
        const char* escaped;
        const char* decoded;
        const char* report;
    } cases[] = {{"a b,\xC3\xA9", "a b,\xC3\xA9", ""},
                 {"!C3!a9", "\xC3\xA9", ""},
                 {"a!00b", "a", ""},
                 {"a!00!zz", "a", "a!00!zz (zz)"},
                 {"ab!2!21c", "ab", "ab!2!21c (2!)"},
                 {"ab!\xC3\xA9", "ab", "ab!\xC3\xA9 (\xC3\xA9)"},
                 {"a! 9!9 !+9!-1z", "a\t\t\t\xFFz", ""}, // what a number may look like
                 {"ab!", "ab", ""},
                 {"ab!2", "ab", ""}};
    for (const auto& c : cases) {
        report.clear();
        EXPECT_EQ(text(unmarshalString(c.escaped)), c.decoded) << c.escaped;
        EXPECT_EQ(report, *c.report != 0 ? undecodable + c.report : "") << c.escaped;
    }
}

TEST_F(EscapedText, ListsKeepTheirItems) {
    const struct {
        Texts items;
        const char* marshalled;
        Texts back;
    } cases[] = {{{}, "#0:", {}},
                 {{"a b", "c"}, "#2:a!20b,c", {"a b", "c"}},
                 {{"", "a"}, "#2:,a", {"", "a"}},
                 {{"#1:", ""}, "#2:!231!3a,", {"#2:!231!3a,"}}, // an empty last one is lost
                 {{""}, "#1:", {"#1:"}}};
    for (const auto& c : cases) {
        const TStr marshalled = marshalStringList(listOf(c.items));
        EXPECT_EQ(text(marshalled), c.marshalled);
        EXPECT_EQ(texts(unmarshalStringList(marshalled)), c.back) << c.marshalled;
    }
    EXPECT_EQ(report, "");
}

TEST_F(EscapedText, WhatIsNoListIsOneItem) {
    EXPECT_EQ(texts(unmarshalStringList("")), Texts());
    EXPECT_EQ(texts(unmarshalStringList("x2:a,b")), (Texts{"a", "b"})) << "any first character passes";
    EXPECT_EQ(texts(unmarshalStringList("# 2 :a,b")), (Texts{"a", "b"}));
    for (const char* odd : {"a#1:b", ":", "#", "#1", "#:a", "#x:a", "#1:a,b", "#-1:", "2:a,b", "\u00E91:a"})
        EXPECT_EQ(texts(unmarshalStringList(odd)), Texts{odd});
    EXPECT_EQ(texts(unmarshalStringList("#2:a!zz,b")), (Texts{"a", "b"}));
    EXPECT_EQ(report, undecodable + "a!zz (zz)") << "the part, not the list";
}

TEST_F(EscapedText, TimeIsLinear) {
    const Texts items(300000, "an item");
    EXPECT_EQ(texts(unmarshalStringList(marshalStringList(listOf(items)))), items);
}

} // namespace
