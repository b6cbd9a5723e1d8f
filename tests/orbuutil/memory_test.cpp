#include "orbuutil/c_memory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>

TEST(Memory, BlocksAreZeroedSizedAndCounted) {
    const long bytes = memory_allocated();
    const long blocks = memory_allocated_count();
    for (const unsigned long size : {0UL, 1UL, 7UL, 8UL, 4096UL, 1UL << 20}) {
        char* block = static_cast<char*>(memory_allocate(size));
        ASSERT_NE(block, nullptr);
        EXPECT_TRUE(std::all_of(block, block + size, [](char byte) { return byte == 0; })) << size;
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % 8, 0U);
        std::uint64_t total = 0;
        std::memcpy(&total, block - 8, sizeof total);
        EXPECT_EQ(total, size + 8);
        EXPECT_EQ(memory_allocated() - bytes, static_cast<long>(size) + 8);
        EXPECT_EQ(memory_allocated_count(), blocks + 1);
        std::memset(block, 0x5a, size); // the next block must be zeroed although this one was not
        EXPECT_EQ(memory_free(block), static_cast<long>(size) + 8);
    }
    // Null and absurd sizes count nothing.
    EXPECT_EQ(memory_free(nullptr), 0);
    for (const unsigned long size : {ULONG_MAX, ULONG_MAX - 7, static_cast<unsigned long>(-100L)}) {
        volatile unsigned long asked = size; // kept from the compiler, which would warn
        EXPECT_EQ(memory_allocate(asked), nullptr);
    }
    EXPECT_EQ(memory_allocated(), bytes);
    EXPECT_EQ(memory_allocated_count(), blocks);
}
