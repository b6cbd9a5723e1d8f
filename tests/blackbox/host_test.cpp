// What a host does with the shared library: its own instantiations beside the library's, plain calls on
// handles of objects, buffers freed across the border, and one set of statics for both sides.
#include "orbuutil/c_memory.h"
#include "orbuutil/c_str.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tlock.h"
#include "orbuutil/tmap.h"
#include "orbuutil/tstr.h"
#include "orbuutil/tstrList.h"

#include <gtest/gtest.h>

namespace {

TEST(Host, SharesOneInfoRecordWithTheLibrary) {
    // A list that the library made, and one that is made here.
    TList<TStr> split = stringSplit("a,b,c", ",");
    TList<TStr> own;
    list_push(own.handle(), &split.front());
    EXPECT_EQ(list_info(split.handle()), list_info(own.handle()));
    EXPECT_EQ(stringJoin(own, "+"), "a");
}

TEST(Host, MakesInstantiationsOfItsOwn) {
    TMap<TStr, int> ages;
    const TStr name("Ada");
    const int age = 36;
    hashmap_insert(ages.handle(), &name, &age);
    hashmapiter* place = hashmap_find(ages.handle(), &name);
    EXPECT_EQ(*static_cast<int*>(hashmapiter_dereference(place)), 36);
    hashmapiter_uninit(place);
    EXPECT_EQ(list_count(ages.keys().handle()), 1);
    EXPECT_EQ(hashmap_bucket_count(ages.handle()), 17);
}

TEST(Host, FreesWhatTheLibraryAllocated) {
    const long before = memory_allocated_count();
    {
        TStr text("caf\xC3\xA9");
        char* utf8 = text.utf8_alloc();
        unsigned short* utf16 = text.utf16le_alloc();
        EXPECT_STREQ(utf8, "caf\xC3\xA9");
        EXPECT_EQ(utf16[3], 0xE9);
        memory_free(utf8);
        memory_free(utf16);
    }
    EXPECT_EQ(memory_allocated_count(), before);
}

} // namespace
