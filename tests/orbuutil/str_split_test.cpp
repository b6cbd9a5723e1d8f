// Joining, splitting and substituting.

#include "support/strings.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;
using test::shown;
using test::Str;
using test::taken;

TEST(StrSplit, JoinsWithOneSeparator) {
    const struct {
        const char *text, *other, *separator, *pushed, *unshifted;
    } cases[] = {
        {"a", "b", "/", "a/b", "b/a"},
        {"a/", "b", "/", "a/b", "b/a/"},
        {"/a", "b", "/", "/a/b", "b/a"},
        {"a", "/b", "/", "a/b", "/b/a"},
        {"a/", "/b", "/", "a/b", "/b/a/"},
        {"/a", "b/", "/", "/a/b/", "b/a"},
        {"a", "b/", "/", "a/b/", "b/a"},
        {"a/b/", "c", "/", "a/b//c", "c/a/b/"}, // the first separator is looked at, not the last
        {"a", "b/c/", "/", "a/b/c/", "b/c//a"},
        {"a::", "::b", "::", "a::b", "::b::a::"},
        {"a", "b", "", "ab", "ba"},
        {"", "b", "/", "/b", "b/"},
        {"a", "", "/", "a", "a"},
    };
    for (const auto& c : cases) {
        Str pushed{std::string(c.text)};
        Str unshifted{std::string(c.text)};
        const Str other{std::string(c.other)};
        const Str separator{std::string(c.separator)};
        str_push(pushed, other, separator);
        str_unshift(unshifted, other, separator);
        EXPECT_EQ(shown(pushed), c.pushed) << c.text << " push " << c.other;
        EXPECT_EQ(shown(unshifted), c.unshifted) << c.text << " unshift " << c.other;
    }
    Str s;
    str_push(s, Str("a"s), Str("/"s));
    EXPECT_EQ(shown(s), "a") << "a null text takes what is pushed";
    str_push(s, Str("b"s), nullptr);
    str_push(s, s, s);
    EXPECT_EQ(shown(s), "ab") << "what ends with the separator and begins with it, less one of them";
    str_unshift(s, s, nullptr);
    EXPECT_EQ(shown(s), "abab");
    Str joined("x-y"s);
    str_push(joined, joined, Str("-"s));
    EXPECT_EQ(shown(joined), "x-y-x-y");
    EXPECT_EQ(joined->size, 9) << "grown with room for one byte more";
}

TEST(StrSplit, SplitsAtBytesOfASet) {
    const struct {
        std::string text;
        const char *shifted, *after_shift;
        int shift_delimiter;
        const char *popped, *after_pop;
        int pop_delimiter;
    } cases[] = {
        {"a,b;c", "a", "b;c", ',', "c", "a,b", ';'},
        {"a,;,b", "a", "b", ',', "b", "a", ','},
        {",a", "", "a", ',', "a", "", ','},
        {"a,", "a", "", ',', "", "a", ','},
        {";", "", "", ';', "", "", ';'},
        {"a", "a", "(null)", 0, "(none)", "a", 0},
        {"ab", "ab", "(null)", 0, "ab", "ab", 0},
        {"", "(none)", "", 0, "", "", 0},
        {"a\xE9z", "a", "z", static_cast<signed char>('\xE9'), "z", "a", static_cast<signed char>('\xE9')},
    };
    for (const auto& c : cases) {
        Str shifted(c.text);
        Str popped(c.text);
        int delimiter = 99;
        EXPECT_EQ(taken(str_shift(shifted, ",;\xE9", &delimiter)), c.shifted) << c.text;
        EXPECT_EQ(shown(shifted), c.after_shift) << c.text;
        EXPECT_EQ(delimiter, c.shift_delimiter) << c.text;
        EXPECT_EQ(taken(str_pop(popped, ",;\xE9", &delimiter)), c.popped) << c.text;
        EXPECT_EQ(shown(popped), c.after_pop) << c.text;
        EXPECT_EQ(delimiter, c.pop_delimiter) << c.text;
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
    const struct {
        const char *text, *separator, *shifted, *after_shift, *popped, *after_pop;
    } cases[] = {
        {"a::b::c", "::", "a", "b::c", "c", "a::b"},
        {"a:::b", "::", "a", ":b", "b", "a:"},
        {"::a", "::", "", "a", "::a", "(null)"}, // position 0 does not count from behind
        {"a::", "::", "a", "", "", "a"},
        {"::", "::", "", "", "::", "(null)"},
        {"abc", "::", "abc", "(null)", "abc", "(null)"},
    };
    for (const auto& c : cases) {
        Str shifted{std::string(c.text)};
        Str popped{std::string(c.text)};
        const Str separator{std::string(c.separator)};
        EXPECT_EQ(taken(str_shift_str(shifted, separator)), c.shifted) << c.text;
        EXPECT_EQ(shown(shifted), c.after_shift) << c.text;
        EXPECT_EQ(taken(str_pop_str(popped, separator)), c.popped) << c.text;
        EXPECT_EQ(shown(popped), c.after_pop) << c.text;
    }
    EXPECT_EQ(taken(str_pop_str(Str(), Str("x"s))), "(none)");
    Str zeroed("a::b"s);
    str_uninit(str_pop_str(zeroed, Str("::"s)));
    EXPECT_EQ(std::string(zeroed->text, 5), "a\0\0\0\0"s) << "to the end of the buffer";
}

TEST(StrSplit, Substitutes) {
    const struct {
        const char *text, *from, *to, *expected;
    } cases[] = {
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
    for (const auto& c : cases) {
        Str s{std::string(c.text)};
        str_replace(s, Str(std::string(c.from)), Str(std::string(c.to)));
        EXPECT_EQ(shown(s), c.expected) << c.text;
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
