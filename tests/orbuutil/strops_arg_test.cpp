#include "orbuutil/c_str.h"
#include "orbuutil/c_strPrivate.h"
#include "orbuutil/c_strops.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

namespace {

using support::text;

// The walk over a format one step at a time, with the plain functions that append and measure.
std::string filledStepByStep(const std::string& formatText, const std::string& argument, int width) {
    str* arg = str_from_utf8(argument.c_str());
    if (width > str_len(arg)) {
        str* blank = str_from_utf8(" ");
        str* padding = str_pad(blank, width - static_cast<int>(str_len(arg)));
        str_unshift(arg, padding, nullptr);
        str_uninit(padding);
        str_uninit(blank);
    }
    const char* format = formatText.c_str();
    const char* end = format + formatText.size();
    int lowest = 10;
    int count = 0;
    for (const char* p = format; p < end; p += private_str_char_bytes(*p)) {
        if (*p != '%')
            continue;
        ++p;
        const int digit = static_cast<signed char>(*p) - '0';
        if (digit >= 1 && digit <= lowest) {
            count = digit < lowest ? 1 : count + 1;
            lowest = digit;
        }
    }
    str* result = str_init();
    const char* p = lowest < 10 ? format : end;
    while (p < end) {
        if (*p == '%' && p[1] == '0' + lowest) {
            str_cat(result, arg);
            p += 2;
            if (--count == 0) {
                str_cat_utf8_limit(result, p, 1000);
                break;
            }
            continue;
        }
        if (*p == '%')
            ++p;
        p = p < end ? format + str_cat_utf8_limit(result, p, 1) : end;
    }
    const std::string filled = result->text != nullptr ? result->text : "<null>";
    str_uninit(result);
    str_uninit(arg);
    return filled;
}

TEST(Arg, GivesWhatTheWalkStepByStepGives) {
    const char* pieces[] = {"%1", "%2", "%3", "%", "%", "1", "a", "bc", "\xC3\xA9", "\xE2\x82\xAC", " "};
    const char* arguments[] = {"", "x", "xy", "xyz", "\xC3\xA9", "%2", "%3abc", "long argument"};
    std::minstd_rand random(20240517);
    for (int round = 0; round < 10000; ++round) {
        std::string format;
        for (unsigned n = random() % 9; n > 0; --n)
            format += pieces[random() % std::size(pieces)];
        const std::string argument = arguments[random() % std::size(arguments)];
        const int width = static_cast<int>(random() % 6);
        TStr s(format.c_str());
        ASSERT_EQ(text(s.arg(TStr(argument.c_str()), width)), filledStepByStep(format, argument, width))
            << '"' << format << "\" with \"" << argument << "\", width " << width;
    }
}

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
