#include "orbuutil/c_hashmapPrivate.h"
#include "orbuutil/c_memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// Bytes of a block as they are counted.
constexpr long block(unsigned long size) { return static_cast<long>(size) + 8; }
constexpr long iterator_bytes = block(sizeof(hashmapiter));
constexpr long entry_bytes = block(sizeof(hashmap_entry));

// Longs as keys and values, held as copies of their bytes.
hashmap_info_record long_info() {
    hashmap_info_record info = {};
    info.record_size = sizeof info;
    info.key_size = info.val_size = sizeof(long);
    info.hash = [](hashmap*, const void* key) { return *static_cast<const unsigned long*>(key); };
    info.equalKey = [](hashmap*, const void* a, const void* b) {
        return std::memcmp(a, b, sizeof(long)) == 0 ? 1 : 0;
    };
    info.flags = HASHMAP_OWNS_KEYS | HASHMAP_OWNS_VALUES;
    return info;
}

void put(hashmap* map, long key, long value) { hashmap_insert(map, &key, &value); }

std::string walk(hashmap* map) {
    std::string text;
    hashmapiter* iter = hashmap_begin(map);
    for (int more = !hashmapiter_is_end(iter); more != 0; more = hashmapiter_next(iter)) {
        text += std::to_string(*static_cast<long*>(hashmapiter_key(iter))) + "=" +
                std::to_string(*static_cast<long*>(hashmapiter_dereference(iter))) + " ";
    }
    hashmapiter_uninit(iter);
    return text;
}

// Checks that a test leaves nothing behind.
class HashMap : public ::testing::Test {
protected:
    HashMap() : map(hashmap_init(17, &info)) {}
    ~HashMap() override {
        hashmap_uninit(map);
        EXPECT_EQ(memory_allocated(), before);
    }
    hashmapiter* find(long key) { return hashmap_find(map, &key); }

    const long before = memory_allocated();
    hashmap_info_record info = long_info();
    hashmap* map;
};

} // namespace

TEST_F(HashMap, WalksByBucketAndOldestFirst) {
    EXPECT_EQ(walk(map), "");
    for (const long key : {18L, 3L, 1L, 35L, -1L}) { // 18, 1 and 35 share bucket 1; -1 is 2^64 - 1
        put(map, key, key * 10);
    }
    EXPECT_EQ(walk(map), "-1=-10 18=180 1=10 35=350 3=30 ");

    void* stored_key = private_hashmap_first(map)->key;
    put(map, -1, 7);
    EXPECT_EQ(private_hashmap_first(map)->key, stored_key);
    put(map, 1, 8);
    EXPECT_EQ(walk(map), "-1=7 18=180 1=8 35=350 3=30 ");

    hashmap* copy = hashmap_duplicate(map);
    EXPECT_EQ(walk(copy), walk(map));
    EXPECT_EQ(hashmap_info(copy), &info);
    EXPECT_EQ(hashmap_allocated(copy),
              block(sizeof(hashmap)) + block(17 * 8) + 5 * (entry_bytes + 2 * block(8)));
    hashmap_uninit(copy);
}

TEST_F(HashMap, EraseMovesOnAndThenUnlinks) {
    for (const long key : {1L, 18L, 35L, 2L}) {
        put(map, key, key);
    }
    hashmapiter* in_chain = find(18);
    hashmap_erase(map, in_chain); // 35 followed in the same chain: spent
    EXPECT_EQ(walk(map), "1=1 35=35 2=2 ");
    EXPECT_EQ(hashmapiter_key(in_chain), nullptr);
    hashmapiter_uninit(in_chain);

    hashmapiter* last_of_chain = find(35);
    hashmap_erase(map, last_of_chain); // the next bucket follows: still good
    ASSERT_NE(hashmapiter_key(last_of_chain), nullptr);
    EXPECT_EQ(*static_cast<long*>(hashmapiter_key(last_of_chain)), 2);
    hashmap_erase(map, last_of_chain);
    hashmap_erase(map, last_of_chain); // at the end: nothing
    hashmapiter* end = hashmap_end(map);
    EXPECT_TRUE(hashmapiter_equal(last_of_chain, end) && hashmapiter_next(last_of_chain) == 0);
    hashmapiter_uninit(end);
    hashmapiter_uninit(last_of_chain);
    EXPECT_EQ(walk(map), "1=1 ");
    const long absent = 99;
    hashmap_remove(map, &absent);
    EXPECT_EQ(hashmap_count(map), 1);
    hashmap_remove(map, private_hashmap_first(map)->key); // the stored key itself
    EXPECT_EQ(hashmap_count(map), 0);
}

TEST_F(HashMap, IteratorsCompareByPlace) {
    put(map, 5, 5);
    put(map, 22, 22);
    hashmapiter* walking = hashmapiter_init(map);
    hashmapiter* second = find(22);
    EXPECT_TRUE(hashmapiter_not_equal(walking, second));
    EXPECT_EQ(hashmapiter_next(walking), 1);
    EXPECT_TRUE(hashmapiter_equal(walking, second));
    hashmap* copy = hashmap_duplicate(map);
    hashmapiter* stranger = hashmapiter_init_from_entry(map, private_hashmap_first(copy));
    hashmap_uninit(copy);
    EXPECT_TRUE(hashmapiter_is_end(stranger));
    for (hashmapiter* iter : {walking, second, stranger}) {
        hashmapiter_uninit(iter);
    }
}

TEST_F(HashMap, KeepsItsAccount) {
    EXPECT_EQ(hashmap_allocated(nullptr), memory_allocated());
    const long empty = block(sizeof(hashmap)) + block(17 * 8);
    EXPECT_EQ(hashmap_allocated(map), empty);
    put(map, 1, 1);
    put(map, 1, 2); // the new value is added, and the old one once more
    const long one = empty + entry_bytes + 4 * block(8);
    EXPECT_EQ(hashmap_allocated(map), one);
    hashmapiter* iter = find(1);
    EXPECT_EQ(hashmap_allocated(map), one + iterator_bytes);
    hashmapiter_uninit(iter);
    EXPECT_EQ(hashmap_allocated(map), one);
    hashmap_clear(map);
    EXPECT_EQ(hashmap_allocated(map), empty + 2 * block(8));
    info.valAllocated = info.keyAllocated = [](hashmap*, void*) { return 100L; };
    info.valFreed = info.keyFreed = [](hashmap*, void*) { return 30L; };
    info.deleteVal = [](hashmap*, void* value) { return 0 * memory_free(value); };
    const long start = hashmap_allocated(map);
    put(map, 1, 1);
    EXPECT_EQ(hashmap_allocated(map) - start, entry_bytes + 2 * block(8) + 200);
    put(map, 1, 2); // made: 16 + 100; freed hook: -30; the delete hook tells 0
    EXPECT_EQ(hashmap_allocated(map) - start, entry_bytes + 3 * block(8) + 270);
    hashmap_clear(map);
    EXPECT_EQ(hashmap_allocated(map) - start, 2 * block(8) + 210);
}

TEST_F(HashMap, TakesItsOwnKeyAndValueBack) {
    put(map, 1, 41);
    put(map, 2, 42);
    hashmap_entry* one = private_hashmap_first(map);
    EXPECT_EQ(hashmap_insert(map, one->key, one->value), one);
    hashmap_insert(map, one->key,
                   one->next != nullptr ? one->next->value : private_hashmap_after(map, one)->value);
    EXPECT_EQ(walk(map), "1=42 2=42 ");
}

TEST_F(HashMap, VariableSizesComeFromTheHooks) {
    info.key_size = info.val_size = 0;
    info.hash = [](hashmap*, const void*) { return 3UL; };
    info.equalKey = [](hashmap*, const void* a, const void* b) {
        return std::strcmp(static_cast<const char*>(a), static_cast<const char*>(b)) == 0 ? 1 : 0;
    };
    info.keySizeOf = info.valSizeOf = [](hashmap*, const void* text) {
        return static_cast<long>(std::strlen(static_cast<const char*>(text)) + 1);
    };
    char key[] = "name";
    hashmap_insert(map, key, "a rather longer value");
    key[0] = 'N'; // the map holds copies
    hashmap_entry* entry = private_hashmap_lookup(map, "name");
    ASSERT_NE(entry, nullptr);
    EXPECT_STREQ(static_cast<char*>(hashmap_entry_value(entry)), "a rather longer value");
    EXPECT_EQ(hashmap_has(map, "Name"), 0);
    info.valSizeOf = nullptr;
    hashmap_insert(map, "none", "value"); // no size at all: a block of no bytes
    EXPECT_NE(private_hashmap_lookup(map, "none")->value, nullptr);
}

TEST(HashMapOfPointers, ComparesByIdentityAndCopiesItsOwnRecord) {
    const long before = memory_allocated();
    hashmap* map = hashmap_init(3, nullptr);
    long keys[2] = {1, 1};
    hashmap_insert(map, &keys[0], nullptr);
    hashmap_insert(map, &keys[1], &keys[0]);
    EXPECT_EQ(hashmap_count(map), 2);
    hashmap* copy = hashmap_duplicate(map);
    hashmap_uninit(map);
    EXPECT_EQ(private_hashmap_lookup(copy, &keys[1])->value, &keys[0]);
    EXPECT_EQ(hashmap_has(copy, &keys[0]), 1);
    hashmap_uninit(copy);
    EXPECT_EQ(hashmap_init(0, nullptr), nullptr);
    EXPECT_EQ(memory_allocated(), before);
}
