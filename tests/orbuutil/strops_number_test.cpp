#include "support/texts.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

using support::text;

TEST(Number, DigitsInAnyBase) {
    EXPECT_EQ(text(TStr::number(0)), "0");
    EXPECT_EQ(text(TStr::number(-255, 16)), "-ff");
    EXPECT_EQ(text(TStr::number(35, 36)), "z");
    EXPECT_EQ(text(TStr::number(5, 1)), "5");
    EXPECT_EQ(text(TStr::number(37, 37)), "37");
    EXPECT_EQ(text(TStr::number(LONG_MIN)), "-9223372036854775808");
    EXPECT_EQ(text(TStr::number(LONG_MIN, 2)), "-1" + std::string(63, '0'));
}

TEST(Number, RealNumbersAreWrittenAsPrintfDoes) {
    char expected[1024];
    const double values[] = {0.0,    -0.0,     1.5,      -1.0 / 3, 1e308, -1.7976931348623157e308,
                             5e-324, INFINITY, -INFINITY};
    for (const double value : values) {
        std::snprintf(expected, sizeof expected, "%.99f", value);
        EXPECT_EQ(text(TStr::number(value, 'f', 1000)), expected);
        std::snprintf(expected, sizeof expected, "%.3G", value);
        EXPECT_EQ(text(TStr::number(value, 'G', 3)), expected);
        std::snprintf(expected, sizeof expected, "%e", value);
        EXPECT_EQ(text(TStr::number(value, 'e', -1)), expected);
    }
}

TEST(Number, IntegersAreParsedWhole) {
    const struct {
        const char* text;
        int base;
        long value;
    } numbers[] = {{"\t\n -12 \n", 10, -12},
                   {"+7", 10, 7},
                   {"fF", 16, 255},
                   {"zZ", 36, 35 * 36 + 35},
                   {"9223372036854775807", 10, LONG_MAX},
                   {"-9223372036854775808", 10, LONG_MIN},
                   {"-7fffffffffffffff", 16, -LONG_MAX}};
    bool ok = false;
    for (const auto& c : numbers) {
        EXPECT_EQ(TStr(c.text).toLong(&ok, c.base), c.value) << c.text;
        EXPECT_TRUE(ok) << c.text;
    }
    const struct {
        int base;
        std::vector<const char*> texts;
    } refused[] = {
        {10, {"", " \t\n", "+", " -", "- 1", "\r1", "12 3", "9223372036854775808", "-9223372036854775809"}},
        {2, {"12"}},
        {16, {"0x1f", "-8000000000000000"}}, // the cut-off comes a digit too early for the most negative
        {200, {"\xC3\xA9"}},
        {0, {"1"}},
        {-5, {"1"}}};
    for (const auto& c : refused) {
        for (const char* text : c.texts) {
            EXPECT_EQ(TStr(text).toLong(&ok, c.base), 0) << text;
            EXPECT_FALSE(ok) << text;
        }
    }
    EXPECT_EQ(TStr("2147483648").toInt(&ok), 0);
    EXPECT_FALSE(ok);
    EXPECT_EQ(TStr("-2147483648").toInt(&ok), INT_MIN);
    EXPECT_EQ(TStr::null.toInt(), 0);
}

TEST(Number, RealNumbersAreParsedWhole) {
    const struct {
        const char* text;
        bool ok;
        double value;
    } cases[] = {{"", false, 0},      {" 1.5", true, 1.5},     {"1.5 ", false, 0},
                 {"1,5", false, 0},   {"0x1p3", true, 8},      {"-inf", true, -INFINITY},
                 {"1e999", false, 0}, {"4e-320", true, 4e-320}};
    for (const auto& c : cases) {
        bool ok = !c.ok;
        EXPECT_EQ(TStr(c.text).toDouble(&ok), c.value) << c.text;
        EXPECT_EQ(ok, c.ok) << c.text;
    }
    bool ok = true;
    EXPECT_EQ(TStr("1e300").toFloat(&ok), 0.0F);
    EXPECT_FALSE(ok);
    EXPECT_TRUE(std::isnan(TStr("nan").toDouble()));
}

// Numbers go to other processes, whatever the host's language is.
TEST(Number, TheHostsLocaleDoesNotMatter) {
    std::string folder = (std::filesystem::temp_directory_path() / "orbu-locale-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    const std::string command = "localedef -i de_DE -f UTF-8 '" + folder + "/de_DE.UTF-8' >/dev/null 2>&1";
    const int made = std::system(command.c_str());
    setenv("LOCPATH", folder.c_str(), 1);
    const char* set = made == 0 ? std::setlocale(LC_ALL, "de_DE.UTF-8") : nullptr;
    const bool comma = set != nullptr && std::string(std::localeconv()->decimal_point) == ",";
    bool ok = false;
    const double parsed = TStr("1.25").toDouble(&ok);
    const TStr written = TStr::number(1.25, 'f', 2);
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
    std::filesystem::remove_all(folder);
    if (!comma)
        GTEST_SKIP() << "no locale with a decimal comma can be made here";
    EXPECT_TRUE(ok);
    EXPECT_EQ(parsed, 1.25);
    EXPECT_EQ(text(written), "1.25");
}

} // namespace
