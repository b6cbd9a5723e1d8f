// Names of locales, and the host's 16-bit texts.
#include "orbuutil/c_memory.h"
#include "orbuutil/orbuUtil.h"
#include "orbuutil/orbuVersion.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Units = std::vector<unsigned short>;

using support::text;

TEST(Locale, NormalForm) {
    struct {
        char const* name;
        char const* strict;
        char const* defaulted;
    } const cases[] = {
        {"de_DE", "de_DE", "de_DE"},   {"DE-de", "de_DE", "de_DE"}, {"zh_tw", "zh_TW", "zh_TW"},
        {"xx_YY", "xx_YY", "en_US"}, // unsupported as it is
        {"german", "", "en_US"},       {"de.DE", "", "en_US"},      {"d1_DE", "", "en_US"},
        {"d\xC3\xA9_FR", "", "en_US"}, {"", "", "en_US"},           {nullptr, "", "en_US"},
    };
    for (auto const& at : cases) {
        EXPECT_EQ(text(OrbuUtil::getOrbuInternalLocale(at.name, false)), at.strict);
        EXPECT_EQ(text(OrbuUtil::getOrbuLocaleDir(at.name)), at.defaulted);
        EXPECT_EQ(OrbuUtil::isValidInternalLocale(at.strict), std::string(at.strict) == at.defaulted);
    }
    for (char const* const name : {"de-DE", "DE_de", "de_D", ";", "cs_CZ;de_DE", ""}) {
        EXPECT_FALSE(OrbuUtil::isValidInternalLocale(name)) << name;
    }
}

TEST(Locale, FolderBehindAPath) {
    char const* const cases[][3] = {{"/a", "DE-de", "/a/de_DE/"},
                                    {"/a/", "xx_YY", "/a/en_US/"},
                                    {"a\\", "de_DE", "a\\de_DE\\"},
                                    {"a", "de_DE", "a\\de_DE\\"},
                                    {"/a", "", "/a"},
                                    {"", "de_DE", ""}};
    for (auto const& [path, locale, result] : cases) {
        EXPECT_EQ(text(OrbuUtil::addOrbuLocaleFolder(path, locale)), result);
    }
}

TEST(Version, OneNumber) {
    OrbuBuildInformation const& build = *orbuUtilBuildInformation();
    EXPECT_EQ(orbuUtilVersionString(), std::to_string(build.major) + "." + std::to_string(build.minor) + "." +
                                           std::to_string(build.update) + "." + std::to_string(build.build));
    EXPECT_EQ(std::to_string(build.major) + build.modifier, orbuUtilFrameworkVersionString());
    EXPECT_EQ("R" + std::to_string(build.major), text(OrbuUtil::getFolderVersionName()));
}

TEST(Utf16, Measures) {
    unsigned short const empty[] = {0};
    unsigned short const a[] = {'a', 0};
    EXPECT_EQ(OrbuUtil::getNumChars(nullptr), 0);
    EXPECT_EQ(OrbuUtil::getNumChars(empty), 0);
    EXPECT_EQ(OrbuUtil::getNumBytes(a, -1), 4);
    EXPECT_EQ(OrbuUtil::getNumBytes(a, -2), 0);
    EXPECT_EQ(OrbuUtil::getNumBytes(empty, 7), 0);
    EXPECT_EQ(OrbuUtil::getNumBytes(a, 0x7FFFFFFF), 0xFFFFFFFEL);
    Units const endless(1048576, 'x'); // a longer count would read behind it
    EXPECT_EQ(OrbuUtil::getNumChars(endless.data()), 1048576);
}

TEST(Utf16, FromTheHost) {
    struct {
        Units units;
        int length;
        bool done;
        char const* result;
    } cases[] = {
        {{'a', 0xFC, 0}, -1, true, "a\xC3\xBC"},
        {{'a', 'b', 'c'}, 2, true, "ab"},
        {{'a', 0, 'c'}, 3, true, "a"},
        {{0xFEFF, 'a', 0}, -1, true, "a"},
        {{0}, -1, true, ""},
        {{'a'}, 0, true, ""},
        {{'a'}, -2, false, ""},
        {{0xD83D, 0xDE00, 0}, -1, false, ""},
    };
    for (auto& at : cases) {
        TStr result("before");
        orbuSTRING const from = {at.units.data(), at.length};
        EXPECT_EQ(OrbuUtil::orbuSTRINGToTStr(&from, result), at.done);
        EXPECT_EQ(text(result), at.result);
        EXPECT_EQ(text(OrbuUtil::orbuSTRINGToTStr(&from)), at.result);
    }
    TStr result("before");
    EXPECT_FALSE(OrbuUtil::orbuSTRINGToTStr(nullptr, result));
    EXPECT_EQ(text(result), "");
    orbuSTRING const none = {nullptr, 3};
    EXPECT_TRUE(OrbuUtil::orbuSTRINGToTStr(&none, result));
}

TEST(Utf16, ToTheHost) {
    struct {
        char const* text;
        Units units;
    } const cases[] = {
        {"a\xC3\xBC", {'a', 0xFC}},
        {"\xF0\x9F\x98\x80", {0xD83D, 0xDE00}}, // units, and not characters
        {"", {}},
        {nullptr, {}},
    };
    for (auto const& at : cases) {
        for (bool const terminated : {false, true}) {
            orbuSTRING to = {nullptr, 99};
            ASSERT_TRUE(OrbuUtil::TStrToorbuSTRING(at.text, &to, terminated));
            EXPECT_EQ(to.length, terminated ? -1 : static_cast<int>(at.units.size()));
            ASSERT_NE(to.data, nullptr);
            EXPECT_EQ(Units(to.data, to.data + at.units.size()), at.units);
            EXPECT_EQ(to.data[at.units.size()], 0);
            memory_free(to.data);
        }
    }
    EXPECT_DEATH(OrbuUtil::TStrToorbuSTRING("a", nullptr, true), "TStrToorbuSTRING");

    int length = 5;
    EXPECT_TRUE(OrbuUtil::makeMultiByteString("abc", nullptr, length));
    EXPECT_EQ(length, 0);
}

} // namespace
