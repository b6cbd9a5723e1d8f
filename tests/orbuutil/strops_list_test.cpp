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

TEST(Tokens, SplitAndPopAgree) {
    const struct {
        const char *whole, *separator;
        Texts tokens;
    } cases[] = {
        {"a,bc,d", ",", {"a", "bc", "d"}},        {",a,,b,", ",", {"<null>", "a", "<null>", "b"}},
        {"; a; b", "; ", {"<null>", " a", " b"}}, {"\xC3\xA9,b,c", ",", {"\xC3\xA9,", "<null>", "c"}},
        {"ab", "", {"<null>", "<null>"}},         {"", ",", {}}};
    for (const auto& c : cases) {
        EXPECT_EQ(texts(stringSplit(TStr(c.whole), c.separator)), c.tokens) << c.whole;
        Texts popped;
        for (TStr s(c.whole); !s.isEmpty();)
            popped.push_back(text(stringPopFront(s, c.separator)));
        EXPECT_EQ(popped, c.tokens) << c.whole;
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
