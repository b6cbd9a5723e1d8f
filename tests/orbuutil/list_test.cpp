#include "orbuutil/c_listPrivate.h"
#include "orbuutil/c_memory.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// The values from the head, checked against the way back from the tail.
std::string walk(const list* of) {
    std::vector<int> forward;
    for (list_entry* e = list_head(of); e != nullptr; e = e->next) {
        forward.push_back(*static_cast<int*>(e->value));
    }
    std::size_t left = forward.size();
    EXPECT_EQ(static_cast<std::size_t>(list_count(of)), left);
    for (list_entry* e = list_tail(of); e != nullptr && left > 0; e = e->previous) {
        EXPECT_EQ(*static_cast<int*>(e->value), forward[--left]);
    }
    EXPECT_EQ(left, 0U);
    std::string text;
    for (const int value : forward) {
        text += std::to_string(value) + " ";
    }
    return text;
}

class List : public ::testing::Test {
protected:
    List() : of(list_init(&info)) {
        info.record_size = sizeof info;
        info.item_size = sizeof(int);
    }
    ~List() override {
        list_uninit(of);
        EXPECT_EQ(memory_allocated(), before);
    }
    void fill(int count) {
        for (int value = 0; value < count; ++value) {
            list_push(of, &value);
        }
    }
    // The value that list_find stops at, -1 when there is none.
    int found(int item) {
        list_iter* iter = list_find(of, &item);
        void* value = list_iter_dereference(iter);
        list_iter_uninit(iter);
        return value != nullptr ? *static_cast<int*>(value) : -1;
    }

    const long before = memory_allocated();
    list_info_record info = {};
    list* of;
};

} // namespace

TEST_F(List, InsertsAroundAnIndex) {
    const std::tuple<bool, int, const char*> rows[] = {
        {true, 0, "0 9 1 2 "},  {true, 2, "0 1 2 9 "},   {true, 3, "0 1 2 9 "},
        {true, -1, "0 1 2 9 "}, {false, 0, "9 0 1 2 "},  {false, 1, "0 9 1 2 "},
        {false, 3, "0 1 2 9 "}, {false, -4, "9 0 1 2 "}, {false, 8, "0 1 2 9 "},
    };
    const int item = 9;
    for (const auto& [after, index, expected] : rows) {
        list_clear(of);
        fill(3);
        list_entry* made = (after ? list_insert_after : list_insert_before)(of, index, &item);
        EXPECT_EQ(walk(of), expected) << after << " " << index;
        EXPECT_EQ(*static_cast<int*>(list_entry_value(made)), 9);
    }
}

TEST_F(List, GivesValuesAwayAndRemovesThem) {
    fill(5);
    void* last = list_pop(of);
    void* first = list_shift(of);
    EXPECT_EQ(*static_cast<int*>(last) * 10 + *static_cast<int*>(first), 40);
    memory_free(last);
    memory_free(first);
    EXPECT_EQ(walk(of), "1 2 3 ");

    const int two = 2;
    EXPECT_EQ(list_remove(of, &two), 1);
    EXPECT_EQ(list_remove(of, &two), 0);
    EXPECT_EQ(list_remove_entry(of, list_head(of)), list_tail(of));
    EXPECT_EQ(list_remove_entry(of, list_tail(of)), nullptr);
    EXPECT_TRUE(list_pop(of) == nullptr && list_shift(of) == nullptr);
    list_unshift(of, &two);
    memory_free(list_pop(of));
    EXPECT_TRUE(list_is_empty(of) && list_head(of) == nullptr);
}

// list_find asks the compare hook or the pointers, list_index falls back on the bytes.
TEST_F(List, FindAndIndexTestDifferently) {
    fill(3);
    const int zero = 0, two = 2;
    EXPECT_EQ(found(2), -1);
    EXPECT_EQ(list_index(of, &two), 2);

    // The stored value comes first in list_find, the item in list_index.
    info.compare = [](const void* a, const void* b) {
        return *static_cast<const int*>(a) == *static_cast<const int*>(b) + 1 ? 1 : 0;
    };
    EXPECT_EQ(found(2), -1);
    EXPECT_EQ(list_index(of, &two), 1);
    EXPECT_EQ(found(0), 1);
    EXPECT_EQ(list_index(of, &zero), -1);
}

TEST_F(List, IteratorsWalkToTheEnd) {
    fill(3);
    list_iter* end = list_end(of);
    for (const int index : {-1, 1, 3}) {
        list_iter* iter = list_at(of, index);
        EXPECT_EQ(list_iter_next(iter), index == 1 ? 1 : 0);
        EXPECT_EQ(list_iter_next(iter) + list_iter_next(iter), 0);
        EXPECT_EQ(list_iter_dereference(iter), nullptr);
        EXPECT_TRUE(list_iter_equal(iter, end));
        list_iter_uninit(iter);
    }
    list_iter_uninit(end);
}

TEST_F(List, CopiesAndCompares) {
    fill(3);
    list* copy = list_dup(of);
    EXPECT_FALSE(list_equal(of, copy)); // without a compare hook the pointers decide
    info.compare = [](const void* a, const void* b) { return std::memcmp(a, b, sizeof(int)) == 0 ? 1 : 0; };
    EXPECT_TRUE(list_equal(of, copy));
    list_append(copy, copy);
    EXPECT_EQ(walk(copy), "0 1 2 0 1 2 ");
    EXPECT_FALSE(list_equal(of, copy));
    list_info_record other = info;
    EXPECT_EQ(list_set_info(copy, &other), &info);
    list_append(of, copy);
    EXPECT_EQ(list_count(of), 9);
    memory_free(list_pop(copy));
    list_clear(of);
    list_append(of, copy);
    EXPECT_FALSE(list_equal(of, copy)); // another info record
    list_uninit(copy);
}

TEST_F(List, HooksMakeCopyAndDelete) {
    static int deleted;
    deleted = 0;
    info.item_size = 0;
    info.sizeOf = [](list*, const void* text) {
        return static_cast<long>(std::strlen(static_cast<const char*>(text)) + 1);
    };
    info.copyValue = [](list*, void* destination, const void* source) {
        std::strcpy(static_cast<char*>(destination), static_cast<const char*>(source));
    };
    info.deleteValue = [](list*, void* value) {
        deleted += 1;
        memory_free(value);
    };
    list_push(of, "a text");
    EXPECT_EQ(list_index(of, "a tex"), -1);
    EXPECT_EQ(list_index(of, "a text"), 0);

    info.newValue = [](list*, const void* item) { return item == nullptr ? nullptr : memory_allocate(40); };
    list_push(of, "hook");
    EXPECT_STREQ(static_cast<char*>(list_entry_value(list_tail(of))),
                 ""); // what the hook made is taken as it is
    list_clear(of);
    EXPECT_EQ(deleted, 2);
    info = {};
    list_push(of, &deleted); // no sizes: the pointer itself
    EXPECT_EQ(list_pop(of), &deleted);
    EXPECT_EQ(private_list_item_size(of, nullptr), 8);
}
