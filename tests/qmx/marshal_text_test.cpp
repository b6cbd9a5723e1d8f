#include "qmx/qmxMarshal.h"
#include "support/model.h"

#include <gtest/gtest.h>

#include <cctype>

namespace {

const char undecodable[] = "Error  Could not decode escape in string: ";

TEST(EscapedText, EveryByteComesBackFromItsEscape) {
    const Reports reports;
    std::string bytes;
    std::string expected;
    for (int byte = 1; byte < 256; ++byte) {
        bytes += static_cast<char>(byte);
        const bool plain = byte < 0x80 && (std::isalnum(byte) != 0 || byte == '_' || byte == '-');
        expected += plain ? std::string(1, bytes.back()) : textOf(TStr("!%1").arg(byte, 2, 16, '0'));
        const TStr marshalled = marshalString(TStr(bytes.c_str()));
        EXPECT_EQ(textOf(marshalled), expected);
        EXPECT_EQ(textOf(unmarshalString(marshalled)), bytes);
    }
}

TEST(EscapedText, DecodingStopsWhereItMust) {
    const char* const cases[][3] = {{"a b,\xC3\xA9", "a b,\xC3\xA9", ""},
                                    {"!C3!a9", "\xC3\xA9", ""},
                                    {"a!00b", "a", ""},
                                    {"a!00!zz", "a", "a!00!zz (zz)"},
                                    {"ab!2!21c", "ab", "ab!2!21c (2!)"},
                                    {"ab!\u20ACcd", "ab", "ab!\u20ACcd (\u20ACc)"},
                                    {"ab!\u20AC", "ab", "ab!\u20AC (\u20AC)"},
                                    {"a! 9!9 !+9!-1z", "a\t\t\t\xFFz", ""}, // what a number may look like
                                    {"ab!", "ab", ""},
                                    {"ab!2", "ab", ""}};
    for (const auto& [escaped, decoded, report] : cases) {
        Reports reports;
        EXPECT_EQ(textOf(unmarshalString(escaped)), decoded) << escaped;
        EXPECT_EQ(reports.take(), *report != 0 ? Texts{undecodable + std::string(report)} : Texts());
    }
}

TEST(EscapedText, ListsKeepTheirItems) {
    const struct {
        Texts items;
        const char* expected;
        Texts back;
    } cases[] = {{{}, "#0:", {}},
                 {{"a b", "c"}, "#2:a!20b,c", {"a b", "c"}},
                 {{"", "a"}, "#2:,a", {"", "a"}},
                 {{"#1:", ""}, "#2:!231!3a,", {"#2:!231!3a,"}}, // an empty last one is lost
                 {{""}, "#1:", {"#1:"}}};
    for (const auto& [items, expected, back] : cases) {
        const TStr marshalled = marshalStringList(listOf(items));
        EXPECT_EQ(textOf(marshalled), expected);
        EXPECT_EQ(textsOf(unmarshalStringList(marshalled)), back) << expected;
    }
}

TEST(EscapedText, WhatIsNoListIsOneItem) {
    Reports reports;
    EXPECT_EQ(textsOf(unmarshalStringList("")), Texts());
    EXPECT_EQ(textsOf(unmarshalStringList("x2:a,b")), (Texts{"a", "b"})) << "any first character passes";
    EXPECT_EQ(textsOf(unmarshalStringList("# 2 :a,b")), (Texts{"a", "b"}));
    for (const char* odd : {"a#1:b", ":", "#", "#1", "#:a", "#x:a", "#1:a,b", "#-1:", "2:a,b", "\u00E91:a"})
        EXPECT_EQ(textsOf(unmarshalStringList(odd)), Texts{odd});
    EXPECT_EQ(textsOf(unmarshalStringList("#2:a!zz,b")), (Texts{"a", "b"}));
    EXPECT_EQ(reports.take(), Texts{undecodable + std::string("a!zz (zz)")}) << "the part, not the list";
}

} // namespace
