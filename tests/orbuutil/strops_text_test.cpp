// What texts are made of and taken apart into: formats, substrings, searches, tokens.
#include "orbuutil/c_list.h"
#include "orbuutil/c_memory.h"
#include "orbuutil/c_strops.h"
#include "orbuutil/tstrList.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using support::text;
using support::Texts;
using support::texts;

TEST(Arg, FillsFormats) {
    EXPECT_EQ(text(TStr("%2 of %1: %3").arg("b").arg('c')), "22 of b: c") << "a doubled digit, kept";
    EXPECT_EQ(text(TStr("%1 %2 %3").arg("%3").arg("x").arg("y")), "33 x y");
    EXPECT_EQ(text(TStr("[%1]").arg("abc", 5, '\0')), "[  abc]");
    EXPECT_EQ(text(TStr("[%1]").arg("abc", -5)), "[abc]");
    EXPECT_EQ(text(TStr("!%1").arg(10, 2, 16, '0')), "!0a");
    EXPECT_EQ(text(TStr("%1|%2").arg(-1L, 4).arg(0.5, 6, 'f', 2)), "  -1|  0.50");
    EXPECT_EQ(text(TStr("%1%2%3").arg('\xE9').arg('\0').arg(1.5F)), "?1.5");
    EXPECT_EQ(text(TStr("%1 %0").arg(TStr::null)), " %0");
}

TEST(Arg, AFormatWithoutPlaceholderIsClearedAndSoIsTheResult) {
    for (const char* format : {"", "plain", "100%", "%", "%%1", "%0 %a", "%\xC3\xA9"}) {
        TStr s(format);
        EXPECT_STREQ(s.toUtf8(), format);
        EXPECT_TRUE(s.arg("x").isNull()) << format;
        EXPECT_TRUE(s.isNull()) << format;
    }
    TStr none(TStr::null);
    EXPECT_TRUE(none.arg("x").isNull());
}

TEST(Arg, OddOperands) {
    TStr itself("<%1>");
    EXPECT_EQ(text(itself.arg(itself)), "<<%1>>");
    TStr cut("%1 end %1");
    cut.truncate(5);
    EXPECT_EQ(text(cut.arg("x")), "x en") << "what stands behind the terminator is no part of the format";
    TStr ends("%1X%1%");
    EXPECT_EQ(text(ends.arg("abcd")), "abcdX") << "the walk comes back to the lone % and ends";
}

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
    const std::tuple<const char*, const char*, long, bool, int> cases[] = {
        {"abcabc", "bc", 0, true, 1},      {"abcabc", "bc", 2, true, 4},
        {"abc", "c", 3, true, -1},         {"abc", "", 3, true, 3},
        {"abc", "", 4, true, -1},          {"abc", "x", 99, true, -1},
        {"\xC3\xA9 aba", "a", 3, true, 5}, {"ABC", "b", 0, true, -1},
        {"ABC", "b", 0, false, 1},         {"x\xC3\xA9y", "\xC3\xA9Y", 0, false, 1},
        {"", "a", 0, false, -1},           {"abc", "b", -3, true, 1}};
    for (const auto& [hay, needle, start, caseSensitive, at] : cases)
        EXPECT_EQ(TStr(hay).find(needle, start, caseSensitive), at) << hay << ' ' << needle;
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
    const std::tuple<const char*, int, int, int> cases[] = {
        {"a(b)", 0, 1, 2},   {"a((b)c)", 0, 2, 2}, {"(b)", 0, -1, 0},     {"(a)(b)", 0, 3, 2},
        {")a(b)", 0, -1, 0}, {"a)b(c)", 0, 3, 2},  {"a(b)c(d)", 4, 5, 2}, {"abc", 0, -1, 0},
        {"a(b", 0, -1, 0},   {"a)b", 0, -1, 0},    {"a(b)", 99, -1, 0}};
    for (const auto& [whole, start, at, expected] : cases) {
        int length = 0;
        EXPECT_EQ(TStr(whole).findSpan("(", ")", &length, start), at) << whole;
        EXPECT_EQ(length, expected) << whole;
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

TEST(Tokens, SplitAndPopAgree) {
    const std::tuple<const char*, const char*, Texts> cases[] = {
        {"a,bc,d", ",", {"a", "bc", "d"}},        {",a,,b,", ",", {"<null>", "a", "<null>", "b"}},
        {"; a; b", "; ", {"<null>", " a", " b"}}, {"\xC3\xA9,b,c", ",", {"\xC3\xA9,", "<null>", "c"}},
        {"ab", "", {"<null>", "<null>"}},         {"", ",", {}}};
    for (const auto& [whole, separator, tokens] : cases) {
        EXPECT_EQ(texts(stringSplit(TStr(whole), separator)), tokens) << whole;
        Texts popped;
        for (TStr s(whole); !s.isEmpty();)
            popped.push_back(text(stringPopFront(s, separator)));
        EXPECT_EQ(popped, tokens) << whole;
    }
}

TEST(Tokens, NullTokensStayNull) {
    const TStr copy(stringSplit(",a", ",").front());
    EXPECT_TRUE(copy.isNull());
    TStr s("a,b");
    EXPECT_STREQ(s.toUtf8(), "a,b");
    EXPECT_EQ(text(stringPopFront(s, ",")), "a");
    EXPECT_STREQ(s.toUtf8(), "b") << "the view is dropped";
    EXPECT_EQ(text(stringPopFront(s, TStr::null)), "b");
    EXPECT_TRUE(s.isNull());
    EXPECT_TRUE(stringPopFront(s, ",").isNull());
    TStr itself(",");
    EXPECT_TRUE(stringPopFront(itself, itself).isNull());
    EXPECT_EQ(text(itself), "");
}

TEST(Tokens, AreJoinedWithTheSeparator) {
    EXPECT_EQ(text(stringJoin(stringSplit(",a,,b,", ","), "; ")), "; a; ; b");
    EXPECT_TRUE(stringJoin(stringSplit(",", ","), "; ").isNull()) << "one null item";
    EXPECT_TRUE(stringJoin(TList<TStr>(), "; ").isNull());
    TList<TStr> own = stringSplit("x,y,z", ",");
    EXPECT_EQ(text(stringJoin(own, own.front())), "xxyxz");
    EXPECT_EQ(text(stringJoin(own, TStr::null)), "xyz");
}

// A quadratic walk over five megabytes does not end within the time limit of a test.
TEST(Tokens, TimeIsLinear) {
    std::string whole;
    for (int i = 0; i < 500000; ++i)
        whole += "item" + std::to_string(i) + ",";
    const long before = memory_allocated();
    {
        const TList<TStr> list = stringSplit(TStr(whole.c_str()), ",");
        EXPECT_EQ(list_count(list.handle()), 500000);
        const TStr joined = stringJoin(list, ",");
        EXPECT_EQ(text(joined) + ",", whole);
    }
    EXPECT_EQ(memory_allocated(), before);
}

} // namespace
