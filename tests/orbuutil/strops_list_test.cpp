#include "orbuutil/c_list.h"
#include "orbuutil/c_memory.h"
#include "orbuutil/tstrList.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

namespace {

using support::text;
using support::Texts;
using support::texts;

// The same by substrings, each of which is a copy.
Texts tokensBySubstrings(const std::string& whole, const char* separator) {
    Texts all;
    TStr s(whole.c_str());
    while (!s.isEmpty()) {
        const int offset = s.find(separator);
        if (offset < 0) {
            all.push_back(text(s));
            break;
        }
        all.push_back(offset == 0 ? "<null>" : text(s.left(offset)));
        s = s.mid(offset == 0 ? 1 : offset + 1, -1);
    }
    return all;
}

TEST(Tokens, SplitPopAndSubstringsAgree) {
    const char* pieces[] = {",", ",", "a", "bc", "\xC3\xA9", "\xE2\x82\xAC", "; ", ","};
    std::minstd_rand random(7);
    for (int round = 0; round < 20000; ++round) {
        std::string whole;
        for (unsigned n = random() % 10; n > 0; --n)
            whole += pieces[random() % std::size(pieces)];
        const char* separator = round % 5 == 0 ? "; " : round % 31 == 0 ? "" : ",";
        const Texts expected = tokensBySubstrings(whole, separator);
        ASSERT_EQ(texts(stringSplit(TStr(whole.c_str()), separator)), expected) << whole;
        Texts popped;
        for (TStr s(whole.c_str()); !s.isEmpty();)
            popped.push_back(text(stringPopFront(s, separator)));
        ASSERT_EQ(popped, expected) << whole;
    }
}

TEST(Tokens, NullTokensStayNull) {
    const TStr copy(stringSplit(",a", ",").front());
    EXPECT_TRUE(copy.isNull());
    TStr s("a,b");
    EXPECT_STREQ(s.toUtf8(), "a,b");
    EXPECT_EQ(text(stringPopFront(s, ",")), "a");
    EXPECT_STREQ(s.toUtf8(), "b") << "the view is dropped";
    EXPECT_EQ(text(stringPopFront(s, TStr::null)), "b");
    EXPECT_TRUE(s.isNull());
    EXPECT_TRUE(stringPopFront(s, ",").isNull());
    TStr itself(",");
    EXPECT_TRUE(stringPopFront(itself, itself).isNull());
    EXPECT_EQ(text(itself), "");
}

TEST(Tokens, AreJoinedWithTheSeparator) {
    EXPECT_EQ(text(stringJoin(stringSplit(",a,,b,", ","), "; ")), "; a; ; b");
    EXPECT_TRUE(stringJoin(stringSplit(",", ","), "; ").isNull()) << "one null item";
    EXPECT_TRUE(stringJoin(TList<TStr>(), "; ").isNull());
    TList<TStr> own = stringSplit("x,y,z", ",");
    EXPECT_EQ(text(stringJoin(own, own.front())), "xxyxz");
    EXPECT_EQ(text(stringJoin(own, TStr::null)), "xyz");
}

// A quadratic walk over five megabytes does not end within the time limit of a test.
TEST(Tokens, TimeIsLinear) {
    std::string whole;
    for (int i = 0; i < 500000; ++i)
        whole += "item" + std::to_string(i) + ",";
    const long before = memory_allocated();
    {
        const TList<TStr> list = stringSplit(TStr(whole.c_str()), ",");
        EXPECT_EQ(list_count(list.handle()), 500000);
        const TStr joined = stringJoin(list, ",");
        EXPECT_EQ(text(joined) + ",", whole);
    }
    EXPECT_EQ(memory_allocated(), before);
}

} // namespace
