#include "support/files.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

using support::text;

TEST(Number, DigitsInAnyBase) {
    EXPECT_EQ(text(TStr::number(0)), "0");
    EXPECT_EQ(text(TStr::number(-255, 16)), "-ff");
    EXPECT_EQ(text(TStr::number(5, 1)), "5");
    EXPECT_EQ(text(TStr::number(37, 37)), "37");
    EXPECT_EQ(text(TStr::number(LONG_MIN)), "-9223372036854775808");
    EXPECT_EQ(text(TStr::number(LONG_MIN, 2)), "-1" + std::string(63, '0'));
}

TEST(Number, RealNumbersAreWrittenAsPrintfDoes) {
    char expected[1024];
    for (const double value : {-0.0, 1.5, -1.0 / 3, -1.7976931348623157e308, 5e-324, -HUGE_VAL}) {
        std::snprintf(expected, sizeof expected, "%.99f", value);
        EXPECT_EQ(text(TStr::number(value, 'f', 1000)), expected);
        std::snprintf(expected, sizeof expected, "%.3G", value);
        EXPECT_EQ(text(TStr::number(value, 'G', 3)), expected);
        std::snprintf(expected, sizeof expected, "%e", value);
        EXPECT_EQ(text(TStr::number(value, 'e', -1)), expected);
    }
}

TEST(Number, IntegersAreParsedWhole) {
    const auto parsed = [](const char* text, int base) {
        bool ok = false;
        const long value = TStr(text).toLong(&ok, base);
        return ok ? std::to_string(value) : value == 0 ? "refused" : "refused, but not 0";
    };
    EXPECT_EQ(parsed("\t\n -12 \n", 10), "-12");
    EXPECT_EQ(parsed("+fF", 16), "255");
    EXPECT_EQ(parsed("9223372036854775807", 10), "9223372036854775807");
    EXPECT_EQ(parsed("-9223372036854775808", 10), "-9223372036854775808");
    for (const char* text :
         {"", " \t\n", "+", " -", "- 1", "\r1", "12 3", "9223372036854775808", "-9223372036854775809"})
        EXPECT_EQ(parsed(text, 10), "refused") << text;
    EXPECT_EQ(parsed("0x1f", 16), "refused");
    EXPECT_EQ(parsed("-8000000000000000", 16), "refused") << "the cut-off comes a digit too early";
    EXPECT_EQ(parsed("\xC3\xA9", 200), "refused");
    for (const int base : {0, -5, 1})
        EXPECT_EQ(parsed("1", base), "refused") << base;

    bool ok = true;
    EXPECT_EQ(TStr("2147483648").toInt(&ok), 0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(TStr("-2147483648").toInt(&ok), INT_MIN);
}

TEST(Number, RealNumbersAreParsedWhole) {
    bool ok = false;
    for (const auto& [text, value] :
         {std::pair(" 1.5", 1.5), {"0x1p3", 8}, {"-inf", -HUGE_VAL}, {"4e-320", 4e-320}}) {
        EXPECT_EQ(TStr(text).toDouble(&ok), value);
        EXPECT_TRUE(ok) << text;
    }
    for (const char* refused : {"", "1.5 ", "1,5", "1e999"}) {
        EXPECT_EQ(TStr(refused).toDouble(&ok), 0.0);
        EXPECT_FALSE(ok) << refused;
    }
    EXPECT_EQ(TStr("1e300").toFloat(&ok), 0.0F);
    EXPECT_FALSE(ok);
}

using NumberInALocale = PlaceTest;

// Numbers go to other processes, whatever the host's language is.
TEST_F(NumberInALocale, IsThatOfAnyOther) {
    const std::string define = "localedef -i de_DE -f UTF-8 '" + in("de_DE.UTF-8") + "' >/dev/null 2>&1";
    setVariable("LOCPATH", mPlace);
    const bool comma = std::system(define.c_str()) == 0 && std::setlocale(LC_ALL, "de_DE.UTF-8") != nullptr &&
                       std::string(std::localeconv()->decimal_point) == ",";
    const double parsed = TStr("1.25e0").toDouble();
    const TStr written = TStr::number(1.25, 'f', 2);
    std::setlocale(LC_ALL, "C");
    if (!comma)
        GTEST_SKIP() << "no locale with a decimal comma can be made here";
    EXPECT_EQ(parsed, 1.25);
    EXPECT_EQ(text(written), "1.25");
}

// Short numbers are written and read without the C library, which has to agree to the last bit.
TEST(Number, ShortRealsAreThoseOfTheCLibrary) {
    std::mt19937_64 random(5);
    std::vector<double> values = {0.0,      -0.0,      1e-4,      0.00099999995, 0.5,       2.5e-4,
                                  999999.5, 999999.4,  99999.95,  100000.5,      100001.5,  1.000005,
                                  123456.5, 1.0 / 3,   1e6,       9.9999e-5,     0.1 + 0.2, 3.25,
                                  1e15,     123456789, 9999995e-7};
    for (int i = 0; i < 20000; ++i) {
        const double digits = static_cast<double>(random() % 20000000);
        values.push_back(std::ldexp(digits, -static_cast<int>(random() % 40)));
        values.push_back(-digits / std::pow(10, static_cast<int>(random() % 14)));
    }
    for (const double value : values) {
        char expected[64];
        snprintf(expected, sizeof expected, "%g", value);
        ASSERT_EQ(text(TStr::number(value)), expected);
        snprintf(expected, sizeof expected, random() % 2 == 0 ? "%.15g" : "%.9f", value);
        bool ok = false;
        const double back = TStr(expected).toDouble(&ok);
        ASSERT_TRUE(ok);
        ASSERT_EQ(std::signbit(back), std::signbit(value));
        ASSERT_EQ(back, strtod(expected, nullptr)) << expected;
    }
}

} // namespace
