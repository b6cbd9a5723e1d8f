// Doubly linked lists of the plain layer.
//
// A list is generic by its info record, a table of hooks of which none is required; without a record the
// pointers given are stored as they are. Lists are released with list_uninit, iterators with
// list_iter_uninit. An iterator holds a pointer to its entry and dies with it. Positions count from 0. Null
// lists, iterators and entries are accepted everywhere: such a call does nothing and gives null or 0. One
// thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"

#include <cstdint>

struct list;
struct list_entry;
struct list_iter;

// The table of hooks. It is not copied: it must outlive its lists. The copy hook takes the destination first;
// those of a hash map (c_hashmap.h) take the source first.
struct list_info_record {
    std::int32_t record_size;                      // the size of this record
    std::int32_t item_size;                        // bytes of an item; 0 if variable
    std::int32_t ref_count;                        // TList instances that use this record
    int (*compare)(const void* a, const void* b);  // non-zero when equal; null: the same pointer
    long (*sizeOf)(list* of, const void* item);    // bytes of this item
    void* (*newValue)(list* of, const void* item); // makes the stored copy of `item`
    void (*deleteValue)(list* of, void* value);    // null: memory_free of what was copied
    void (*copyValue)(list* of, void* destination, const void* source); // null: a copy of the bytes
};

// New empty list, or null when memory is exhausted.
ORBU_EXPORT list* list_init(list_info_record* info);

// Removes all entries (list_clear), and frees the list too (list_uninit).
ORBU_EXPORT void list_clear(list* of);
ORBU_EXPORT void list_uninit(list* of);

// New list with the same info record and a copy of each value.
ORBU_EXPORT list* list_dup(const list* other);

// Adds a copy of each value of `other`, which may be `to` itself, at the tail.
ORBU_EXPORT void list_append(list* to, const list* other);

// Sets the info record and gives the old one. The values that are there are not touched.
ORBU_EXPORT list_info_record* list_set_info(list* of, list_info_record* info);

ORBU_EXPORT list_info_record* list_info(const list* of);
ORBU_EXPORT std::int32_t list_count(const list* of);
ORBU_EXPORT int list_is_empty(const list* of); // 1 also for null
ORBU_EXPORT list_entry* list_head(const list* of);
ORBU_EXPORT list_entry* list_tail(const list* of);

// Walk by entry: the value stored, which belongs to the list, and the entry that follows.
ORBU_EXPORT void* list_entry_value(const list_entry* entry);
ORBU_EXPORT list_entry* list_entry_next(const list_entry* entry);

// Store a copy of `item` (or the pointer, as the info record says) at the tail or the head; the new entry.
ORBU_EXPORT list_entry* list_push(list* of, const void* item);
ORBU_EXPORT list_entry* list_unshift(list* of, const void* item);

// Take off the last or first entry and give its value, which passes to the caller: no hook runs. Null when
// the list is empty.
ORBU_EXPORT void* list_pop(list* of);
ORBU_EXPORT void* list_shift(list* of);

// Removes the first item that equals `item`: 1, or 0 when there is none. list_index gives its position, or
// -1. Both ask compare(item, value) if there is one; else compare the bytes, as many as the shorter of the
// two has, when the info record tells sizes; else the pointers.
ORBU_EXPORT int list_remove(list* of, const void* item);
ORBU_EXPORT std::int32_t list_index(const list* of, const void* item);

// Removes the entry with its value and gives the entry that followed.
ORBU_EXPORT list_entry* list_remove_entry(list* of, list_entry* entry);

// Iterator on the first value for which compare(value, item) says equal (without that hook: the same
// pointer), or the end iterator.
ORBU_EXPORT list_iter* list_find(list* of, const void* item);

// Iterator on the item at `index`, walked from the head; the end iterator outside the list.
ORBU_EXPORT list_iter* list_at(list* of, std::int32_t index);

// list_insert_after: behind the item at `index`; an index outside the list appends. list_insert_before:
// behind the item at `index` - 1 when `index` is positive, else at the head. Both give the new entry.
ORBU_EXPORT list_entry* list_insert_before(list* of, std::int32_t index, const void* item);
ORBU_EXPORT list_entry* list_insert_after(list* of, std::int32_t index, const void* item);

// 1 when both use the same info record, and item by item compare says equal (without that hook: the same
// pointers), and both end together.
ORBU_EXPORT int list_equal(const list* a, const list* b);

ORBU_EXPORT list_iter* list_begin(list* of);
ORBU_EXPORT list_iter* list_end(list* of);

// New iterator on `entry`; null is the end. Released with list_iter_uninit (memory_free does the same).
ORBU_EXPORT list_iter* list_iter_init(list* of, list_entry* entry);
ORBU_EXPORT void list_iter_uninit(list_iter* iter);

// 1 when both stand on the same entry of the same list.
ORBU_EXPORT int list_iter_equal(const list_iter* a, const list_iter* b);
ORBU_EXPORT int list_iter_not_equal(const list_iter* a, const list_iter* b);

// Moves on; 1 when the iterator then stands on an entry, 0 at the end.
ORBU_EXPORT int list_iter_next(list_iter* iter);

// The value, which belongs to the list; null at the end.
ORBU_EXPORT void* list_iter_dereference(const list_iter* iter);

ORBU_EXPORT list* list_iter_list(const list_iter* iter);
ORBU_EXPORT list_entry* list_iter_entry(const list_iter* iter);
