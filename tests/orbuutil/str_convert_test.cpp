// Conversions between encodings: sizes, bytes, refusals, and the fast loops against the plain table.

#include "orbuutil/c_memory.h"
#include "orbuutil/c_strPrivate.h"
#include "orbuutil/tstr.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using namespace std::string_literals;

// Converts as a caller does: sizes, makes exactly that room and one terminator, converts. "-" for a failure.
std::string converted(const std::string& source, long from, long to) {
    const long need = str_encoding_requires_bytes(source.data(), static_cast<long>(source.size()), from, to);
    if (need == 0) {
        return "-";
    }
    std::vector<char> room(static_cast<std::size_t>(need) + 4, '\x55');
    if (str_encode(source.data(), static_cast<long>(source.size()), from, room.data(), need, to) == 0) {
        return "-";
    }
    const std::size_t unit = static_cast<std::size_t>(str_encode_map[to].terminator);
    std::size_t end = 0;
    while (room.at(end) != 0 || (unit > 1 && room.at(end + 1) != 0)) {
        end += unit;
    }
    return std::string(room.data(), end);
}

TEST(StrConvert, GoesThroughOneCodePointAtATime) {
    const std::tuple<const char*, long, std::string, long, std::string> cases[] = {
        {"high bytes of ASCII", STR_ASCII, "a\xE9z", STR_UTF8, "a?z"},
        {"beyond ASCII", STR_UTF8, "h\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80!", STR_ASCII, "h\?\?\?!"},
        {"two and three bytes", STR_UTF8, "\xC3\xA9\xE2\x82\xAC", STR_UTF16BE, "\x00\xE9\x20\xAC"s},
        {"supplementary as pair", STR_UTF8, "\xF0\x9F\x98\x80", STR_UTF16LE, "\x3D\xD8\x00\xDE"s},
        {"mark in a stream", STR_UTF8, "ab", STR_UTF16, "\xFF\xFE\x61\0b\0"s},
        {"above the last code point", STR_UTF8, "\xF4\x90\x80\x80", STR_UTF16LE, "?\0"s},
        {"five and six bytes", STR_UTF8, "\xF8\x88\x80\x80\x80|\xFC\x84\x80\x80\x80\x80", STR_UTF16LE,
         "?\0|\0?\0"s},
        {"stray continuation byte", STR_UTF8, "\x80z", STR_UTF16LE, "\x80\0z\0"s},
        {"overlong", STR_UTF8, "\xC1\x81", STR_UTF16LE, "A\0"s},
        {"a negative sum", STR_UTF8, "\xC0\x01", STR_UTF16LE, "?\0"s},
        {"an overlong zero ends", STR_UTF8, "a\xC0\x80z", STR_UTF16LE, "a\0"s},
        {"surrogate in UTF-8", STR_UTF8, "a\xED\xA0\x80z", STR_UTF16LE, "-"},
        {"cut short", STR_UTF8, "a\xE2\x82", STR_UTF16LE, "-"},
        {"units", STR_UTF16BE, "\x00\x41\x20\xAC"s, STR_UTF8, "A\xE2\x82\xAC"},
        {"a pair is not combined", STR_UTF16LE, "\x3D\xD8\x00\xDE"s, STR_UTF8, "-"},
        {"stream with mark", STR_UTF16, "\xFF\xFE\x61\0b\0"s, STR_UTF8, "ab"},
        {"stream without mark", STR_UTF16, "a\0b\0"s, STR_UTF8, "ab"},
        {"a mark alone", STR_UTF16, "\xFF\xFE"s, STR_UTF8, ""},
        {"half a mark", STR_UTF16, "\xFF"s, STR_UTF8, "-"},
        // Sized as big-endian and read as little-endian: the room ends in the middle.
        {"stream with the other mark", STR_UTF16, "\xFE\xFF\0a\0b"s, STR_UTF8, "-"},
        {"32 bit without a zero word", STR_UTF32, "a\0\0\0\0\0\0\0b\0\0\0\0\0\0\0"s, STR_UTF8, "-"},
        {"32 bit with one", STR_UTF32, "a\0\0\0\0\0\0\0\0\0\0\0"s, STR_UTF8, "a"},
    };
    for (const auto& [what, from, source, to, expected] : cases) {
        EXPECT_EQ(converted(source, from, to), expected) << what;
    }
}

TEST(StrConvert, SizesCountTheTerminatorAndOneCharacterForANul) {
    const std::tuple<std::string, long, long, long> cases[] = {
        {"", STR_UTF8, STR_UTF16LE, 2},
        {"abc", STR_UTF8, STR_UTF16LE, 8},
        {"abc\0"s, STR_UTF8, STR_UTF16, 10}, // the NUL leaves room for the mark
        {"\xF0\x9F\x98\x80", STR_UTF8, STR_UTF16BE, 6},
        {"h\xC3\xA9", STR_UTF8, STR_ASCII, 4},
        {"hello", STR_UTF8, STR_UTF32, 1},            // under-counts
        {"\x41\xD8\0\0"s, STR_UTF16BE, STR_ASCII, 6}, // by the length of the source, which is not decoded
        {"\xFE\xFF\xD8\x41\0\0"s, STR_UTF16, STR_ASCII, 10}, // in the order that the mark tells
        {"a\0b\0"s, STR_UTF16LE, STR_UTF8, 3},
        {"\xFF\xFE"s + "a\0"s, STR_UTF16, STR_UTF8, 3}, // a terminator is assumed behind the source
        {"\xFF\xFE"s + "a\0\0\0"s, STR_UTF16, STR_UTF8, 3},
        {"ab", STR_ASCII, STR_UTF32, 0},
        {"abcd", STR_UTF32, STR_UTF8, 0},
        {"ab", 6, STR_UTF8, 0},
        {"ab", STR_UTF8, -1, 0},
    };
    for (const auto& [source, from, to, expected] : cases) {
        const long bytes = static_cast<long>(source.size());
        EXPECT_EQ(str_encoding_requires_bytes(source.data(), bytes, from, to), expected) << source;
    }
}

TEST(StrConvert, ErrorRecordNamesTheLastErrorAndSurvivesSuccess) {
    const std::tuple<std::string, long, long, const char*> cases[] = {
        {"\0\xD8\0\xDC"s, STR_UTF16LE, 0x80000001, "unpaired high surrogate"},
        {"\xDC\0\0\0"s, STR_UTF16BE, 0x80000001, "unpaired low surrogate"},
        {"\0\xD8"s, STR_UTF16LE, 0x80000002, "from buffer overflow"},
        {"a\0b"s, STR_UTF16, 0x80000002, "from buffer overflow in private_str_decode_utf16BE"},
    };
    for (const auto& [source, from, code, text] : cases) {
        const TStr refused(source.data(), static_cast<long>(source.size()), from);
        EXPECT_EQ(private_str_text(refused.handle()), nullptr);
        EXPECT_EQ(TStr("fine").toUtf16()[4], 'e');
        EXPECT_EQ(str_error_code(), code);
        EXPECT_STREQ(str_error_text(), text);
        EXPECT_NE(std::string(str_error_file()).find("c_strCodec"), std::string::npos);
    }
    char room[8];
    EXPECT_EQ(str_encode("abc", 3, STR_ASCII, room, 2, STR_UTF8), 0);
    EXPECT_STREQ(str_error_text(), "to buffer overflow");
    str_last_error_code = 0;
    EXPECT_EQ(str_encode("a\xE2\x82", 3, STR_UTF8, room, 8, STR_UTF16LE), 0) << "recorded nowhere";
    EXPECT_EQ(str_error_code(), 0);
}

TEST(StrConvert, TerminatorsAndRoom) {
    char room[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    EXPECT_EQ(str_encode("", 0, STR_UTF8, room, 0, STR_UTF16LE), 1);
    EXPECT_EQ(std::string(room, 4), "\0\0\1\1"s) << "a terminator even without room";
    EXPECT_EQ(str_encode("ab", 2, STR_ASCII, room, 2, STR_UTF8), 1);
    EXPECT_EQ(std::string(room, 4), "ab\0\1"s);
    EXPECT_EQ(str_encode("abc", 3, STR_UTF8, room, 2, STR_UTF8), 1);
    EXPECT_EQ(std::string(room, 4), "ab\0\1"s) << "the same encoding clips and does not terminate";
    for (const long to : {STR_UTF16, STR_UTF16BE, STR_UTF16LE}) {
        EXPECT_EQ(str_encode("a", 1, STR_UTF8, room, 1, to), 0) << "no room for a unit";
    }
    EXPECT_EQ(str_encode("a", 1, STR_UTF8, room, 8, 6), 0);

    // Two marks, one measured and one not: the stream charges the mark, so its last unit is lost.
    const unsigned short marked[] = {0xFEFF, 'a', 'b', 'c', 0};
    EXPECT_EQ(str_utf16_len(marked), 6);
    EXPECT_STREQ(TStr(marked).toUtf8(), "ab");
    EXPECT_STREQ(TStr(marked, 4).toUtf8(), "abc");
    EXPECT_STREQ(TStr::fromUcs2(marked + 1).toUtf8(), "abc");
    EXPECT_EQ(str_utf16le_len(u"a\xF900z"), 8) << "generous for units with the bits of a surrogate";
    EXPECT_EQ(str_utf8_len("a\xE2"), 2) << "cut short by the terminator";
}

// Texts that mix runs, multi-byte characters, zeros and rubbish in the encoding of a unit.
std::string random_source(std::mt19937& random, long unit) {
    static const char* const pieces[] = {"a",
                                         "plain text of a line",
                                         "\xC3\xA9",
                                         "\xD0\x96\xD0\xB8",
                                         "\xE6\x97\xA5\xE6\x9C\xAC\xE3\x81\xAE",
                                         "\xED\x95\x9C",
                                         "\xE0\xA4\x95",
                                         "\xF0\x9F\x98\x80"};
    std::string source;
    const unsigned kind = random() % 6;
    const unsigned length = random() % (random() % 500 == 0 ? 20000 : 70);
    while (source.size() < length) {
        const char* piece = pieces[kind < 4 ? random() % (2 * kind + 2) : random() % 8];
        source += unit == 1 ? piece : converted(piece, STR_UTF8, STR_UTF16LE);
        if (kind >= 4 && random() % (kind == 4 ? 40 : 6) == 0) {
            source += static_cast<char>(random());
            source += static_cast<char>(random() % 3 == 0 ? 0 : random());
        }
    }
    return source;
}

TEST(StrConvert, FastLoopsGiveWhatTheTableGives) {
    std::mt19937 random(20240229);
    const long pairs[][2] = {{STR_UTF8, STR_UTF16LE}, {STR_UTF8, STR_UTF16},   {STR_UTF8, STR_ASCII},
                             {STR_UTF8, STR_UTF16BE}, {STR_UTF16LE, STR_UTF8}, {STR_UTF16, STR_UTF8},
                             {STR_ASCII, STR_UTF8},   {STR_UTF16BE, STR_UTF8}};
    for (int round = 0; round < 40000; ++round) {
        const auto& pair = pairs[random() % std::size(pairs)];
        const long from = pair[0], to = pair[1];
        const std::string text = random_source(random, str_encode_map[from].unit);
        const auto bytes = static_cast<long>(text.size());
        const std::vector<char> source(text.begin(), text.end()); // exactly, for the sanitizer
        const std::string shown =
            testing::PrintToString(text) + " from " + std::to_string(from) + " to " + std::to_string(to);

        const auto error = [] {
            return std::string(str_last_error_text != nullptr ? str_last_error_text : "");
        };
        long need = bytes + 1;
        if (to != STR_ASCII) {
            str_last_error_text = nullptr;
            need = private_str_requires_by_table(source.data(), bytes, from, to);
            const std::string table_error = error();
            str_last_error_text = nullptr;
            ASSERT_EQ(str_encoding_requires_bytes(source.data(), bytes, from, to), need) << shown;
            ASSERT_EQ(error(), table_error) << shown;
        }

        // All of the room that is needed, or too little of it.
        const long room = random() % 2 == 0 ? need : static_cast<long>(random()) % (2 * bytes + 2);
        const auto done = [&](auto convert) {
            std::vector<char> made(static_cast<std::size_t>(room) + 4, '\x11');
            str_last_error_text = nullptr;
            const int result = convert(source.data(), bytes, from, made.data(), room, to);
            return std::tuple(result, made, error());
        };
        ASSERT_EQ(done(str_encode), done(private_str_convert_by_table)) << shown << ", room " << room;
    }
}

} // namespace
