// Joining, splitting and substituting.

#include "support/strings.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using test::shown;
using test::Str;
using test::taken;

TEST(StrSplit, JoinsWithOneSeparator) {
    // text, other, separator; pushed, unshifted
    const std::string cases[][5] = {
        {"a", "b", "/", "a/b", "b/a"},
        {"a/", "b", "/", "a/b", "b/a/"},
        {"/a", "b", "/", "/a/b", "b/a"},
        {"a", "/b", "/", "a/b", "/b/a"},
        {"a/", "/b", "/", "a/b", "/b/a/"},
        {"/a", "b/", "/", "/a/b/", "b/a"},
        {"a", "b/", "/", "a/b/", "b/a"},
        {"a", "b/c/", "/", "a/b/c/", "b/c//a"},
        {"a", "b", "", "ab", "ba"},
        {"", "b", "/", "/b", "b/"},
        {"a", "", "/", "a", "a"},
        {"a::", "::b", "::", "a::b", "::b::a::"},
        {"a/b/", "c", "/", "a/b//c", "c/a/b/"}}; // the first separator is looked at, not the last
    for (const auto& [text, other, separator, after_push, after_unshift] : cases) {
        Str pushed(text);
        Str unshifted(text);
        str_push(pushed, Str(other), Str(separator));
        str_unshift(unshifted, Str(other), Str(separator));
        EXPECT_EQ(shown(pushed), after_push) << text << " push " << other;
        EXPECT_EQ(shown(unshifted), after_unshift) << text << " unshift " << other;
    }
    Str s;
    str_push(s, Str("a"s), Str("/"s));
    EXPECT_EQ(shown(s), "a") << "a null text takes what is pushed";
    str_push(s, Str("b"s), nullptr);
    str_push(s, s, s);
    EXPECT_EQ(shown(s), "ab") << "what ends with the separator and begins with it, less one of them";
    str_unshift(s, s, nullptr);
    EXPECT_EQ(shown(s), "abab");
    str_push(s, s, Str("-"s));
    EXPECT_EQ(shown(s), "abab-abab");
    EXPECT_EQ(s->size, 11) << "grown with room for one byte more";
}

TEST(StrSplit, SplitsAtBytesOfASet) {
    constexpr int high = static_cast<signed char>('\xE9');
    const std::tuple<std::string, std::string, int, std::string, int> cases[] = {
        {"a,b;c", "a + b;c", ',', "c + a,b", ';'},
        {"a,;,b", "a + b", ',', "b + a", ','},
        {",a", " + a", ',', "a + ", ','},
        {"a,", "a + ", ',', " + a", ','},
        {";", " + ", ';', " + ", ';'},
        {"a", "a + (null)", 0, "(none) + a", 0},
        {"ab", "ab + (null)", 0, "ab + ab", 0},
        {"", "(none) + ", 0, " + ", 0},
        {"a\xE9z", "a + z", high, "z + a", high},
    };
    for (const auto& [text, shift, shift_delimiter, pop, pop_delimiter] : cases) {
        Str shifted(text);
        Str popped(text);
        int delimiter = 99;
        const std::string first = taken(str_shift(shifted, ",;\xE9", &delimiter));
        EXPECT_EQ(first + " + " + shown(shifted), shift) << text;
        EXPECT_EQ(delimiter, shift_delimiter) << text;
        const std::string last = taken(str_pop(popped, ",;\xE9", &delimiter));
        EXPECT_EQ(last + " + " + shown(popped), pop) << text;
        EXPECT_EQ(delimiter, pop_delimiter) << text;
    }
    int delimiter = 99;
    EXPECT_EQ(taken(str_shift(Str(), ",", &delimiter)), "(none)");
    EXPECT_EQ(taken(str_pop(Str(), ",", &delimiter)), "(none)");
    EXPECT_EQ(delimiter, 99) << "left alone for a null text";
    Str own("abc"s);
    EXPECT_EQ(taken(str_shift(own, own->text, nullptr)), "");
    EXPECT_EQ(shown(own), "");
}

TEST(StrSplit, SplitsAtAWholeSeparator) {
    const std::string cases[][3] = {
        {"a::b::c", "a + b::c", "c + a::b"},
        {"a:::b", "a + :b", "b + a:"},
        {"::a", " + a", "::a + (null)"}, // position 0 does not count from behind
        {"a::", "a + ", " + a"},
        {"::", " + ", ":: + (null)"},
        {"abc", "abc + (null)", "abc + (null)"},
    };
    const Str separator("::"s);
    for (const auto& [text, shift, pop] : cases) {
        Str shifted(text);
        Str popped(text);
        const std::string first = taken(str_shift_str(shifted, separator));
        EXPECT_EQ(first + " + " + shown(shifted), shift);
        const std::string last = taken(str_pop_str(popped, separator));
        EXPECT_EQ(last + " + " + shown(popped), pop);
    }
    EXPECT_EQ(taken(str_pop_str(Str(), separator)), "(none)");
    Str zeroed("a::b"s);
    str_uninit(str_pop_str(zeroed, separator));
    EXPECT_EQ(std::string(zeroed->text, 5), "a\0\0\0\0"s) << "to the end of the buffer";
}

TEST(StrSplit, Substitutes) {
    const std::string cases[][4] = {
        {"a--b--c", "--", "+", "a+b+c"},
        {"--", "--", "", ""},
        {"aaa", "aa", "b", "ba"},
        {"abc", "x", "y", "abc"},
        {"abc", "", "y", "abc"},
        {"", "x", "y", "(null)"},
        {"ab", "b", "bb", "abb"}, // what was put in is not looked at again
        // Offsets count bytes where the walk counts characters: the text misaligns behind a multi-byte one.
        {"\xC3\xA9-b-c", "-", "+", "\xC3\xA9+-+"},
    };
    for (const auto& [text, from, to, expected] : cases) {
        Str s(text);
        str_replace(s, Str(from), Str(to));
        EXPECT_EQ(shown(s), expected) << text;
    }
    Str own("ab"s);
    str_replace(own, own, Str("x"s));
    EXPECT_EQ(shown(own), "x");
    EXPECT_EQ(own->size, 2);
    str_replace(own, Str("y"s), nullptr);
    EXPECT_EQ(own->size, 3) << "a rest is joined, with one byte to spare";

    std::string many;
    for (int i = 0; i < 200000; ++i) {
        many += "ab,";
    }
    Str large(many);
    str_replace(large, Str(","s), Str("--"s));
    EXPECT_EQ(str_len(large), 800000) << "in linear time";
    EXPECT_EQ(shown(large).substr(799992), "ab--ab--");

    EXPECT_EQ(taken(str_replace_all(Str(",a,;b;c"s), ",;", Str("--"s))), "a--b--c");
    EXPECT_EQ(taken(str_replace_all(Str(), ",", Str("-"s))), "(null)");
}

} // namespace
