#include "orbuutil/c_memory.h"
#include "orbuutil/tmapPrivate.h"
#include "orbuutil/tstrList.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <climits>
#include <type_traits>

namespace {

using support::Texts;
using support::texts;

void put(TMap<TStr, TStr>& map, const char* key, const char* value) {
    TStr k(key);
    TStr v(value);
    hashmap_insert(map.handle(), &k, &v);
}

// A host's own key, with its hash beside it.
namespace host {
struct Key {
    int number = 0;
    bool operator==(Key const&) const = default;
};
unsigned long hash(Key const& key) { return static_cast<unsigned long>(key.number); }
} // namespace host

} // namespace

static_assert(!std::is_copy_assignable_v<TList<TStr>> && !std::is_copy_assignable_v<TMap<TStr, TStr>>);
static_assert(sizeof(TList<int>) == 2 * sizeof(void*));      // the virtual table and the list
static_assert(sizeof(TMap<long, int>) == 2 * sizeof(void*)); // the virtual table and the map

// The order in which marshalled attributes are written follows from these.
TEST(Hash, IsTheNumberOrTheFirstBytes) {
    EXPECT_EQ(hash(TStr::null) + hash(TStr()) + hash(TStr("")), 0U);
    EXPECT_EQ(hash(TStr("abcdefgh")), 0x6162636465666768U);
    EXPECT_EQ(hash(TStr("abcdefgh1")), 0x6867666564636261U); // the packing order changes with the ninth byte
    EXPECT_EQ(hash(TStr("\xc3z")), 0xffffffffffffc37aU);     // bytes are widened with their sign
    EXPECT_EQ(hash(-1L), ULONG_MAX);
    EXPECT_EQ(hash(-2), ULONG_MAX - 1);
    EXPECT_EQ(hash('\xff'), ULONG_MAX);
}

TEST(TMap, WalksInTheOrderOfTheFormat) {
    TMap<TStr, TStr> map;
    EXPECT_EQ(hashmap_bucket_count(map.handle()), 17);
    for (const char* key :
         {"selector", "locale", "caption", "RCOD", "abcdefgh2", "abcdefgh1", "\xc3\xa9", ""}) {
        put(map, key, key);
    }
    // Buckets 0, 2, 5, 5, 7, 12, 15 and 16; within a chain the oldest comes first.
    EXPECT_EQ(support::text(stringJoin(map.keys(), " ")),
              " caption abcdefgh2 abcdefgh1 RCOD locale selector \xc3\xa9");
    EXPECT_EQ(*private_tmap_find(map, TStr("abcdefgh1")), TStr("abcdefgh1"));
    EXPECT_EQ(private_tmap_find(map, TStr("abcdefgh3")), nullptr);
}

template <typename Container>
class Containers : public testing::Test {};
using Kinds = testing::Types<TList<TStr>, TMap<TStr, TStr>>;
TYPED_TEST_SUITE(Containers, Kinds);

TYPED_TEST(Containers, ShareOneRecordWhileAnyInstanceLives) {
    for (int round = 0; round < 2; ++round) {
        ASSERT_EQ(TypeParam::sinfo, nullptr);
        TypeParam first;
        ASSERT_NE(TypeParam::sinfo, nullptr);
        {
            TypeParam copy(first);
            EXPECT_EQ(TypeParam::sinfo->ref_count, 2);
        }
        EXPECT_EQ(TypeParam::sinfo->ref_count, 1);
    }
    EXPECT_EQ(TypeParam::sinfo, nullptr);
}

TEST(TMap, CopiesItsValues) {
    const long before = memory_allocated();
    {
        TMap<TStr, TStr> first;
        put(first, "k", "v");
        TMap<TStr, TStr> copy(first);
        put(copy, "k", "w");
        EXPECT_EQ(*private_tmap_find(first, TStr("k")), TStr("v"));
        EXPECT_EQ(*private_tmap_find(copy, TStr("k")), TStr("w"));
    }
    EXPECT_EQ(memory_allocated(), before);
}

TEST(TMap, TakesNumbersPointersAndHostTypes) {
    int pointee = 7;
    int* pointer = &pointee;
    TMap<long, int*> pointers;
    for (const long key : {1000000000000L, -4L}) {
        hashmap_insert(pointers.handle(), &key, &pointer);
    }
    EXPECT_EQ(*private_tmap_find(pointers, -4L), &pointee);
    EXPECT_EQ(private_tmap_find(pointers, 4L), nullptr);
    EXPECT_EQ(list_count(pointers.keys().handle()), 2);

    TMap<host::Key, TStr> hosted;
    const host::Key key{3};
    const TStr value("three");
    hashmap_insert(hosted.handle(), &key, &value);
    EXPECT_EQ(*private_tmap_find(hosted, host::Key{3}), value);
    EXPECT_EQ(hosted.keys().front(), key);
}

TEST(TList, RemovesByPlace) {
    TList<TStr> const original = stringSplit("a,b,c,d", ",");
    TList<TStr> items(original);
    EXPECT_TRUE(list_equal(original.handle(), items.handle()));
    items.front() = "changed";
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
    items.removeFirst(); // nothing is left
    EXPECT_EQ(texts(original), (Texts{"a", "b", "c", "d"}));
}

TEST(TList, ItemsAreComparedByValue) {
    TList<TStr> items = stringSplit("a,b,a", ",");
    TStr wanted("b");
    EXPECT_EQ(list_index(items.handle(), &wanted), 1);
    list_push(items.handle(), nullptr); // a null item gives a default value
    EXPECT_TRUE(static_cast<TStr*>(list_entry_value(list_tail(items.handle())))->isNull());
}
