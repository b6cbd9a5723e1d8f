#include "orbuutil/c_strops.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using support::text;

TEST(Substrings, CountCharacters) {
    const TStr s("h\xC3\xA9llo");
    EXPECT_EQ(text(s.left(2)), "h\xC3\xA9");
    EXPECT_EQ(text(s.right(4)), "\xC3\xA9llo");
    EXPECT_EQ(text(s.left(0)) + text(s.right(0)), "");
    for (const int whole : {-1, 5, 99})
        EXPECT_EQ(text(s.left(whole)) + text(s.right(whole)), text(s) + text(s));
    EXPECT_EQ(text(TStr().left(3)), "") << "a copy of a null text is empty";
    EXPECT_TRUE(TStr().right(3).isNull());
    TStr cut("ab\xC3,xyz");
    EXPECT_EQ(text(cut.pop(",")), "xyz");
    EXPECT_EQ(text(cut.right(1)), "z") << "a character that is cut short leads across the NUL";
}

TEST(Pad, RepeatsWithoutCutting) {
    for (const auto& [bytes, padded] : {std::pair(7, "abcabcabc"), {3, "abc"}, {-1, "abc"}})
        EXPECT_EQ(text(TStr(static_cast<void*>(str_pad(TStr("abc").handle(), bytes)))), padded);
    EXPECT_EQ(text(TStr(static_cast<void*>(str_pad(TStr("").handle(), 5)))), "");
}

TEST(Find, StartsAtACharacterAndAnswersInBytes) {
    const struct {
        const char* text;
        const char* needle;
        long start;
        bool caseSensitive;
        int at;
    } cases[] = {{"abcabc", "bc", 0, true, 1},      {"abcabc", "bc", 2, true, 4},
                 {"abc", "c", 3, true, -1},         {"abc", "", 3, true, 3},
                 {"abc", "", 4, true, -1},          {"abc", "x", 99, true, -1},
                 {"\xC3\xA9 aba", "a", 3, true, 5}, {"ABC", "b", 0, true, -1},
                 {"ABC", "b", 0, false, 1},         {"x\xC3\xA9y", "\xC3\xA9Y", 0, false, 1},
                 {"", "a", 0, false, -1},           {"abc", "b", -3, true, 1}};
    for (const auto& c : cases)
        EXPECT_EQ(TStr(c.text).find(c.needle, c.start, c.caseSensitive), c.at) << c.text << ' ' << c.needle;
    EXPECT_EQ(TStr("abc").find(TStr::null), -1);
    EXPECT_EQ(TStr::null.find("a", 0, false), -1);
}

TEST(Case, ChangesTheAsciiLettersAmongTheLeadBytes) {
    EXPECT_EQ(text(TStr("a{z`\xC3\xA9\xE2\x82\xAC~").upper()), "A{Z`\xC3\xA9\xE2\x82\xAC~");
    EXPECT_EQ(text(TStr("A[Z@\xC3\x89").lower()), "a[z@\xC3\x89");
    EXPECT_EQ(text(TStr("\xC3zz").upper()), "\xC3zZ") << "a byte inside a character stays";
    EXPECT_TRUE(TStr::null.upper().isNull());
}

TEST(WhiteSpace, StrippedAndSimplified) {
    EXPECT_EQ(text(TStr(" \t\v a \xC3\xA9 \r\n").stripWhiteSpace()), "a \xC3\xA9");
    EXPECT_EQ(text(TStr("  \n ").stripWhiteSpace()), "  \n ");
    // All characters but the last become blanks, as hosts know it.
    EXPECT_EQ(text(TStr(" \t\v a b c \r\n").simplifyWhiteSpace()), "  c");
    EXPECT_EQ(text(TStr("x \xC3\xA9 y").simplifyWhiteSpace()), "  y");
    EXPECT_EQ(text(TStr("  \n ").simplifyWhiteSpace()), "  \n ");
}

TEST(Span, FindsTheInnermostAndSkipsOffsetZero) {
    const struct {
        const char* text;
        int start;
        int at;
        int length;
    } cases[] = {{"a(b)", 0, 1, 2},   {"a((b)c)", 0, 2, 2}, {"(b)", 0, -1, 0},     {"(a)(b)", 0, 3, 2},
                 {")a(b)", 0, -1, 0}, {"a)b(c)", 0, 3, 2},  {"a(b)c(d)", 4, 5, 2}, {"abc", 0, -1, 0},
                 {"a(b", 0, -1, 0},   {"a)b", 0, -1, 0},    {"a(b)", 99, -1, 0}};
    for (const auto& c : cases) {
        int length = 0;
        EXPECT_EQ(TStr(c.text).findSpan("(", ")", &length, c.start), c.at) << c.text;
        EXPECT_EQ(length, c.length) << c.text;
    }
    EXPECT_EQ(TStr("abc").findSpan("", ""), -1);
}

TEST(EscapePair, CollapsesAndExpandsAsHostsKnowIt) {
    EXPECT_EQ(text(TStr("a,b;;c").collapse(",;")), "a!{3b}b!{0}c");
    EXPECT_EQ(text(TStr("a,b,").collapse(",")), "a!{2c}b");
    EXPECT_EQ(text(TStr("a\xE9z b").collapse("\xE9")), "a!{0}z b");
    EXPECT_EQ(text(TStr("abc").expand()), "abcabc");
    EXPECT_EQ(text(TStr("a!{3b}b").expand()), "aa!{3b}b");
}

} // namespace
