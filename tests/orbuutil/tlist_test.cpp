#include "orbuutil/tlist.h"

#include "orbuutil/c_listPrivate.h"
#include "orbuutil/tstr.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace {

TList<TStr> texts(std::initializer_list<const char*> items) {
    TList<TStr> result;
    for (const char* item : items) {
        TStr text(item);
        list_push(result.handle(), &text);
    }
    return result;
}

std::string joined(TList<TStr> const& items) {
    std::string text;
    for (list_entry* e = list_head(items.handle()); e != nullptr; e = e->next) {
        text += static_cast<TStr*>(e->value)->toUtf8();
        text += " ";
    }
    return text;
}

} // namespace

static_assert(!std::is_copy_assignable_v<TList<TStr>>);
static_assert(sizeof(TList<int>) == 2 * sizeof(void*)); // the virtual table and the list

TEST(TList, SharesOneRecordWhileAnyInstanceLives) {
    const long before = memory_allocated();
    ASSERT_EQ(TList<TStr>::sinfo, nullptr);
    {
        TList<TStr> first = texts({"a", "b"});
        list_info_record* record = TList<TStr>::sinfo;
        ASSERT_NE(record, nullptr);
        EXPECT_EQ(record->record_size, static_cast<int>(sizeof(list_info_record)));
        EXPECT_EQ(record->item_size, static_cast<int>(sizeof(TStr)));
        EXPECT_EQ(record->sizeOf, nullptr);
        {
            TList<TStr> copy(first);
            EXPECT_EQ(record->ref_count, 2);
            EXPECT_EQ(list_info(copy.handle()), record);
            EXPECT_TRUE(list_equal(first.handle(), copy.handle()));
            copy.front() = "c";
            EXPECT_EQ(joined(first) + joined(copy), "a b c b ");
        }
        EXPECT_EQ(record->ref_count, 1);
    }
    EXPECT_EQ(TList<TStr>::sinfo, nullptr);
    { TList<TStr> next; }
    EXPECT_EQ(TList<TStr>::sinfo, nullptr);
    EXPECT_EQ(memory_allocated(), before);
}

TEST(TList, RemovesByPlace) {
    TList<TStr> items = texts({"a", "b", "c", "d"});
    items.removeFirst();
    TListIterator<TStr> place(list_begin(items.handle()));
    EXPECT_TRUE(place.next());
    TListIterator<TStr> following = items.remove(place);
    EXPECT_EQ(*following, TStr("d"));
    EXPECT_EQ(joined(items), "b d ");
    TListIterator<TStr> end = items.remove(following);
    EXPECT_TRUE(end.isEnd());
    EXPECT_TRUE(items.remove(end).isEnd());
    EXPECT_EQ(joined(items), "b ");
    items.removeFirst();
    items.removeFirst();
    EXPECT_EQ(list_count(items.handle()), 0);
}

TEST(TList, ItemsAreComparedByValueAndCopied) {
    TList<TStr> items = texts({"a", "b", "a"});
    TStr wanted("b");
    EXPECT_EQ(list_index(items.handle(), &wanted), 1);
    EXPECT_EQ(list_remove(items.handle(), &wanted), 1);
    list_push(items.handle(), nullptr); // a null item gives a default value
    EXPECT_TRUE(static_cast<TStr*>(list_entry_value(list_tail(items.handle())))->isNull());
    TStr* taken = static_cast<TStr*>(list_shift(items.handle()));
    EXPECT_EQ(*taken, TStr("a"));
    delete taken;
}

TEST(TList, PointersAreHeldInCells) {
    int pointees[2] = {1, 1};
    {
        TList<int*> items;
        for (int& pointee : pointees) {
            int* pointer = &pointee;
            list_push(items.handle(), &pointer);
        }
        int* second = &pointees[1];
        EXPECT_EQ(list_index(items.handle(), &second), 1); // the pointers are compared, not the pointees
        EXPECT_EQ(items.front(), &pointees[0]);
    }
    EXPECT_EQ(pointees[0] + pointees[1], 2);
}
