#include "support/texts.h"

#include <gtest/gtest.h>

namespace {

using support::text;

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

} // namespace
