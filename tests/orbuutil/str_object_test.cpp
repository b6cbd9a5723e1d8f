// TStr: its states, its operators and the cached view.

#include "orbuutil/tstr.h"
#include "support/strings.h"

#include <gtest/gtest.h>

namespace {

using test::shown;

std::string shown(const TStr& s) { return shown(s.handle()); }

TEST(StrObject, NullStatesInCopies) {
    const TStr null_text;
    TStr assigned("x");
    assigned = null_text;
    EXPECT_EQ(shown(null_text), "(null)");
    EXPECT_EQ(shown(TStr(null_text)), "") << "a copy of a null text is empty";
    EXPECT_EQ(shown(assigned), "");
    EXPECT_EQ(shown(null_text + null_text), "");
    EXPECT_EQ(shown(TStr(TStr::null)), "(none)") << "a null handle stays";
    EXPECT_FALSE(null_text == "");
    EXPECT_TRUE(null_text < "" && null_text != TStr(""));
    EXPECT_TRUE(TStr::null == null_text && TStr::null < TStr("") && !TStr::null);

    EXPECT_STREQ(null_text, "") << "the view of a null text is an empty text";
    EXPECT_EQ(static_cast<const char*>(TStr::null), nullptr);
    EXPECT_EQ(TStr::null.toUtf16(), nullptr);
    EXPECT_EQ(TStr("a").asEncoding(6), nullptr);

    // A null handle takes text.
    TStr cat(TStr::null), pushed(TStr::null), set(TStr::null), buffer(TStr::null);
    cat += "a";
    pushed.push("b", "/");
    EXPECT_TRUE(set.setUtf8("c"));
    buffer.buffer(3)[0] = 'd';
    EXPECT_EQ(cat + pushed + set + buffer, "abcd");
    EXPECT_EQ(shown(TStr::null + "x"), "x");
    EXPECT_EQ(shown(TStr(TStr::null).shift(",")), "(none)");

    TStr* self = &assigned;
    assigned = "me";
    assigned = *self;
    EXPECT_EQ(assigned, "me");
}

TEST(StrObject, MakesTextFromEverySource) {
    const unsigned short units[] = {'a', 0xE9, 0x20AC, 0};
    const unsigned long words[] = {'a', 'b', 0};
    const struct {
        TStr made; // where it stays: a copy of a null text is empty
        const char* expected;
    } cases[] = {
        {TStr('a'), "a"},
        {TStr('\xE9'), "?"},
        {TStr(65UL), "(null)"}, // four bytes are too few for a word
        {TStr(static_cast<const char*>(nullptr)), "(null)"},
        {TStr(units), "a\xC3\xA9\xE2\x82\xAC"},
        {TStr(units, 2), "a\xC3\xA9"},
        {TStr::fromUcs2(units + 1), "\xC3\xA9\xE2\x82\xAC"},
        {TStr(words), "(null)"},
        {TStr(words, 3), "a?b"}, // between two words a mixed one is read
        {TStr("x") + 'a' + '\xE9' + 65UL + "z", "xa?z"},
    };
    for (const auto& [made, expected] : cases) {
        EXPECT_EQ(shown(made), expected);
    }
    TStr bytes;
    bytes += '\xC3';
    bytes += '\xA9';
    bytes += 65UL;
    EXPECT_EQ(bytes, "\xC3\xA9") << "here a char is a byte of UTF-8";
    TStr set("abc");
    EXPECT_TRUE(set.setUtf16LE(units, 4)) << "bytes, not units";
    EXPECT_EQ(set, "a\xC3\xA9");
    EXPECT_EQ(set.setAscii("wxyz", 2), "wx");
    set.replaceAll("x", "-"); // changes nothing, as hosts know it
    EXPECT_EQ(set, "wx");
}

TEST(StrObject, ComparesOnBothSides) {
    const TStr a("a"), b("b");
    EXPECT_TRUE(a < b && a <= b && b > a && b >= a && a != b && a == a);
    EXPECT_TRUE(a < "b" && "b" > a && "a" <= a && !("a" < a) && "a" == a && "b" != a && a >= "a");
    EXPECT_EQ("x" + a + b, "xab");
}

TEST(StrObject, TheViewLivesUntilAnotherOrAChange) {
    TStr s("h\xC3\xA9llo");
    const char* view = s;
    EXPECT_STREQ(view, "h?llo");
    EXPECT_EQ(s.latin1(), view) << "made once";
    EXPECT_EQ(s.toUtf16()[0], 0xFEFF);
    EXPECT_EQ(s.toUtf16LE()[1], 0xE9);
    EXPECT_EQ(s.toUtf16BE()[1], 0xE900);

    // Each of these drops the view of the old text first.
    const std::pair<void (*)(TStr&), const char*> changes[] = {
        {[](TStr& t) { t += "!"; }, "a/b!"},           {[](TStr& t) { t += t.toUtf8(); }, "a/ba/b"},
        {[](TStr& t) { t += t; }, "a/ba/b"},           {[](TStr& t) { t.setUtf8(t.toUtf8() + 2); }, "b/b"},
        {[](TStr& t) { t = t.toUtf8() + 2; }, "b"},    {[](TStr& t) { t.clear(); }, ""},
        {[](TStr& t) { t.shift("/"); }, "b"},          {[](TStr& t) { t.popString("/"); }, "a"},
        {[](TStr& t) { t.push(t, t); }, "a/b"},        {[](TStr& t) { t.unshift("c", "/"); }, "c/a/b"},
        {[](TStr& t) { t.replace("/", t); }, "aa/bb"}, {[](TStr& t) { t += '!'; }, "a/b!"},
    };
    for (const auto& [change, expected] : changes) {
        TStr t("a/b");
        EXPECT_STREQ(t.toUtf8(), "a/b");
        change(t);
        EXPECT_STREQ(t.toUtf8(), expected);
    }
    TStr written("abc");
    EXPECT_STREQ(written, "abc");
    written.buffer(3)[0] = 'x';
    EXPECT_STREQ(written, "abc") << "writing through buffer() keeps the view";
    written.clearCachedEncoding();
    EXPECT_STREQ(written, "xbc");

    // A conversion that fails ends where it failed.
    const TStr cut("ab\xE2", 3, STR_UTF8);
    EXPECT_STREQ(cut, "ab");
    EXPECT_EQ(cut.toUtf16LE()[0], 0) << "what cannot be sized has no room";
    EXPECT_EQ(TStr("a\xED\xA0\x80").toUtf16LE()[1], 0);
    EXPECT_EQ(reinterpret_cast<const unsigned*>(TStr("a").asEncoding(STR_UTF32))[0], 0U) << "under-counted";
}

} // namespace
