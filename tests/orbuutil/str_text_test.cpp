// The text of a string: buffers and their tails, walks, appending, copying out, also on ill-formed text.

#include "orbuutil/c_memory.h"
#include "support/strings.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

namespace {

using namespace std::string_literals;
using test::shown;
using test::Str;
using test::taken;

TEST(StrText, NullAndEmptyAreTwoStates) {
    const Str null;
    const Str empty(""s);
    EXPECT_EQ(null->size, 0);
    EXPECT_EQ(empty->size, 1);
    EXPECT_LT(str_cmp(null, empty), 0);
    EXPECT_GT(str_cmp(empty, null), 0);
    EXPECT_EQ(str_cmp(null, nullptr), 0);
    EXPECT_LT(str_utf8_cmp(null, ""), 0);
    EXPECT_EQ(str_utf8_cmp(null, nullptr), 0);
    EXPECT_GT(str_utf8_cmp(Str("\xC3"s), "z"), 0) << "bytes are unsigned";
    EXPECT_EQ(taken(str_dup(null)), "") << "a null text duplicates into an empty one";
    EXPECT_EQ(taken(str_dup(nullptr)), "(none)");
    EXPECT_EQ(taken(str_from_cstr(nullptr)), "(null)");
    EXPECT_EQ(taken(str_from("a", 1, 6)), "(null)");
}

TEST(StrText, BuffersStayAndKeepTails) {
    Str s("abcdef"s);
    str_utf8_set(s, "xy");
    EXPECT_EQ(shown(s), "xycdef") << "UTF-8 is copied without a terminator";
    str_ascii_set(s, "pq", -1);
    EXPECT_EQ(shown(s), "pq") << "a conversion writes one";
    EXPECT_EQ(s->size, 7);
    str_set(s, "zzz", 3, 99);
    EXPECT_EQ(shown(s), "pq");
    str_utf8_set(s, s->text + 1);
    EXPECT_EQ(shown(s), "qq") << "its own text";
    str_set(s, "\0\xD8\0\xDC", 4, STR_UTF16LE);
    EXPECT_EQ(shown(s), "(null)");

    const Str copy(str_dup(Str("abc"s)));
    EXPECT_EQ(copy->size, 5) << "one more than the original";
    EXPECT_EQ(str_cpy(copy, s), 3);
    EXPECT_EQ(s->size, 6);
    EXPECT_EQ(str_cpy(s, s), 3);
    EXPECT_EQ(str_cpy(Str(), s), 0);
    EXPECT_EQ(shown(s), "(null)");

    char* text = str_buffer(s, 300);
    EXPECT_EQ(s->size, 301);
    std::memset(text, 'x', 301);
    EXPECT_EQ(str_len(s), 301) << "written full: the padding ends it";
    EXPECT_EQ(std::strlen(text), 301U);
    EXPECT_EQ(str_utf8_char_count(s), 301);
    str_utf8_set(s, text + 100);
    EXPECT_EQ(str_cat(s, s), 602);
}

TEST(StrText, WalksGoByLeadBytesWithinTheBuffer) {
    const std::tuple<std::string, long, long> cases[] = {
        {"plain text, longer than a word", 30, 30},
        {"\x80\xBF", 2, 2},                  // stray continuation bytes
        {"a\xE2\x82", 3, 2},                 // cut short by the end of the buffer
        {"\xFC\x84\x80\x80\x80\x80z", 7, 2}, // six bytes
        {"a\xE2\0bc"s, 5, 3},                // a NUL that the walk jumps across
        {"abcdefg\xF0\x9F\x98\0\0"s, 11, 8}, // and one that it does not
    };
    for (const auto& [text, bytes, characters] : cases) {
        const Str s(text);
        EXPECT_EQ(str_len(s), bytes) << testing::PrintToString(text);
        EXPECT_EQ(str_utf8_char_count(s), characters) << testing::PrintToString(text);
    }
    EXPECT_EQ(str_len(nullptr), 0);

    // The quick length against a plain walk.
    std::mt19937 random(7);
    for (int round = 0; round < 20000; ++round) {
        std::string text(random() % 24, ' ');
        for (char& byte : text) {
            static const char bytes[] = {'a', 'b', 0, '\x80', '\xC3', '\xE2', '\xF0', '\xF8', '\xFC'};
            byte = bytes[random() % (round % 2 == 0 ? 9 : 4)];
        }
        std::size_t at = 0;
        long characters = 0;
        for (; at < text.size() && text[at] != 0; ++characters) {
            at += static_cast<std::size_t>(private_str_char_bytes(text[at]));
        }
        const Str s(text);
        ASSERT_EQ(str_len(s), static_cast<long>(std::min(at, text.size()))) << testing::PrintToString(text);
        ASSERT_EQ(str_utf8_char_count(s), characters) << testing::PrintToString(text);
    }
}

TEST(StrText, CutsByCharactersAndTakesBytes) {
    const std::string whole = "h\xC3\xA9llo";
    const std::tuple<int, int, std::string, int, std::string> cases[] = {
        {0, 2, "h\xC3", 'h', ""},         {1, 2, "\xC3\xA9", static_cast<signed char>('\xC3'), "h"},
        {2, -1, "llo", 'l', "h\xC3\xA9"}, {5, -1, "", 0, whole},
        {6, -1, "(none)", 0, whole},      {4, 100, "o", 'o', "h\xC3\xA9ll"}};
    for (const auto& [start, bytes, expected, at, truncated] : cases) {
        Str s(whole);
        EXPECT_EQ(taken(str_mid(s, start, bytes)), expected) << start;
        EXPECT_EQ(str_at(s, start), at) << start;
        str_truncate(s, start);
        EXPECT_EQ(shown(s), truncated) << start;
        EXPECT_EQ(s->size, 7);
    }
    EXPECT_EQ(Str(str_mid(Str("abc"s), 1, 100))->size, 101) << "the count is not clipped, the copy is";
    EXPECT_EQ(taken(str_mid(Str(), 0, -1)), "(none)");
}

TEST(StrText, AppendsExactly) {
    const std::tuple<std::string, std::string, int, std::string> cases[] = {
        {"ab", "h\xC3\xA9llo", 2, "abh\xC3\xA9"},
        {"ab", "xyz", 0, "ab"},
        {"ab", "xyz", 9, "abxyz"},
        {"", "\xE2", 1, "\xE2"}}; // cut short by the terminator
    for (const auto& [first, other, limit, expected] : cases) {
        Str s(first);
        EXPECT_EQ(str_cat_utf8_limit(s, other.c_str(), limit), static_cast<long>(expected.size()));
        EXPECT_EQ(shown(s), expected);
        EXPECT_EQ(s->size, static_cast<long>(expected.size() + 1));
    }
    Str null;
    EXPECT_EQ(str_cat_utf8_limit(null, "h\xC3\xA9llo", 2), 3);
    EXPECT_EQ(str_cat(null, nullptr), 3);
    // Byte by byte, so that characters are cut on the way; and onto itself.
    Str s;
    for (const char byte : "\xE2\x82\xAC"s) {
        str_cat(s, Str(std::string(1, byte)));
    }
    EXPECT_EQ(str_cat(s, s), 6);
    EXPECT_EQ(shown(s), "\xE2\x82\xAC\xE2\x82\xAC");
    EXPECT_EQ(str_cat_utf8_limit(s, s->text, 1), 9);
    EXPECT_EQ(str_utf8_char_count(s), 3);
}

TEST(StrText, CopiesOutWithinTheRoom) {
    const Str s("h\xC3\xA9!"s); // four bytes, size 5
    const std::tuple<long, const char*, const char*> cases[] = {
        {5, "....", "...."}, {6, "h?!", "...."}, {7, "h?!", "h\xC3\xA9!"}};
    for (const auto& [room, ascii, raw] : cases) {
        char text[16] = "....";
        char bytes[16] = "....";
        EXPECT_STREQ(str_cstrn(s, text, room), ascii) << room;
        EXPECT_STREQ(str_utf8_cstrn(s, bytes, room), raw) << room;
        long needed = room;
        EXPECT_EQ(str_cstr(s, text, &needed), room < 6 ? 0 : 5);
        EXPECT_EQ(needed, room < 6 ? 6 : room);
    }
    char out[32];
    const std::pair<long, long> needs[] = {{STR_ASCII, 5},    {STR_UTF8, 6},  {STR_UTF16, 10},
                                           {STR_UTF16LE, 10}, {STR_UTF32, 1}, {6, 0}};
    for (const auto& [encoding, need] : needs) {
        const std::unique_ptr<char[]> exact(new char[static_cast<std::size_t>(need)]);
        EXPECT_EQ(str_get(s, exact.get(), need, encoding), need);
        EXPECT_EQ(str_get(s, out, need - 1, encoding), 0);
        void* copy = str_alloc(s, encoding);
        EXPECT_EQ(copy == nullptr, need == 0);
        memory_free(copy);
    }
    EXPECT_EQ(str_get(s, out, sizeof out, STR_UTF32), 1);
    EXPECT_EQ(std::string(out, 12), "h\0\0\0\xE9\0\0\0!\0\0\0"s) << "words at a step of four bytes";
}

TEST(StrText, AllocatesUnitsWithAndWithoutMark) {
    const auto units = [](unsigned short* made) {
        const std::u16string text(reinterpret_cast<char16_t*>(made));
        memory_free(made);
        return text;
    };
    EXPECT_EQ(units(str_utf16_alloc(Str("a\xF0\x9F\x98\x80"s))), u"\xFEFF\x61\xD83D\xDE00");
    EXPECT_EQ(units(str_utf16_alloc(Str(""s))), u"\xFEFF");
    EXPECT_EQ(units(str_utf16be_alloc(Str("a\xE2\x82\xAC"s))), u"\x6100\xAC20");
    EXPECT_EQ(units(str_utf16le_alloc(Str("ab\xED\xA0\x80z"s))), u"ab") << "a surrogate ends it";
    EXPECT_EQ(str_utf16le_alloc(Str("ab\xE2"s)), nullptr) << "cut short";
    EXPECT_EQ(str_utf16_alloc(nullptr), nullptr);
}

} // namespace
