#include "orbuutil/c_memory.h"
#include "orbuutil/tstrList.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <type_traits>

using support::Texts;
using support::texts;

static_assert(!std::is_copy_assignable_v<TList<TStr>>);
static_assert(sizeof(TList<int>) == 2 * sizeof(void*)); // the virtual table and the list

TEST(TList, SharesOneRecordWhileAnyInstanceLives) {
    const long before = memory_allocated();
    ASSERT_EQ(TList<TStr>::sinfo, nullptr);
    {
        TList<TStr> first = stringSplit("a,b", ",");
        list_info_record* record = TList<TStr>::sinfo;
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->item_size, static_cast<int>(sizeof(TStr)));
        {
            TList<TStr> copy(first);
            EXPECT_EQ(record->ref_count, 2);
            EXPECT_EQ(list_info(copy.handle()), record);
            EXPECT_TRUE(list_equal(first.handle(), copy.handle()));
            copy.front() = "c";
            EXPECT_EQ(texts(first), (Texts{"a", "b"}));
            EXPECT_EQ(texts(copy), (Texts{"c", "b"}));
        }
        EXPECT_EQ(record->ref_count, 1);
    }
    EXPECT_EQ(TList<TStr>::sinfo, nullptr);
    { TList<TStr> next; }
    EXPECT_EQ(TList<TStr>::sinfo, nullptr);
    EXPECT_EQ(memory_allocated(), before);
}

TEST(TList, RemovesByPlace) {
    TList<TStr> items = stringSplit("a,b,c,d", ",");
    items.removeFirst();
    TListIterator<TStr> place(list_begin(items.handle()));
    EXPECT_TRUE(place.next());
    TListIterator<TStr> following = items.remove(place);
    EXPECT_EQ(*following, TStr("d"));
    EXPECT_EQ(texts(items), (Texts{"b", "d"}));
    TListIterator<TStr> end = items.remove(following);
    EXPECT_TRUE(end.isEnd());
    EXPECT_TRUE(items.remove(end).isEnd());
    EXPECT_EQ(texts(items), Texts{"b"});
    items.removeFirst();
    items.removeFirst();
    EXPECT_EQ(list_count(items.handle()), 0);
}

TEST(TList, ItemsAreComparedByValueAndCopied) {
    TList<TStr> items = stringSplit("a,b,a", ",");
    TStr wanted("b");
    EXPECT_EQ(list_index(items.handle(), &wanted), 1);
    EXPECT_EQ(list_remove(items.handle(), &wanted), 1);
    list_push(items.handle(), nullptr); // a null item gives a default value
    EXPECT_TRUE(static_cast<TStr*>(list_entry_value(list_tail(items.handle())))->isNull());
    TStr* taken = static_cast<TStr*>(list_shift(items.handle()));
    EXPECT_EQ(*taken, TStr("a"));
    delete taken;
}
