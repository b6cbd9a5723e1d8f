// Hash maps of the plain layer: a fixed number of buckets, each a chain from the oldest entry to the newest.
//
// A map is generic by its info record, a table of hooks of which none is required. The map never grows or
// rehashes: the bucket count is fixed by hashmap_init, and the order of iteration (lowest bucket first,
// oldest entry first within it) follows from the hashes and the order of insertion alone. Text forms depend
// on it.
//
// Maps are released with hashmap_uninit, iterators with hashmapiter_uninit, before their map. Every
// look-up that gives an iterator allocates it and adds its block to the map's allocated bytes. Null maps,
// iterators and entries are accepted everywhere: such a call does nothing and gives null or 0. One thread at
// a time.
#pragma once

#include "orbuutil/orbuExport.h"

#include <cstdint>

struct hashmap;
struct hashmap_entry;
struct hashmapiter;

// The table of hooks. It is not copied: it must outlive its maps. Map hooks that copy take the source first;
// those of a list (c_list.h) take the destination first.
struct hashmap_info_record {
    std::int32_t record_size; // the size of this record
    std::int32_t key_size;    // bytes of a key; 0: keySizeOf tells
    std::int32_t val_size;    // bytes of a value; 0: valSizeOf tells
    std::int32_t ref_count;   // TMap instances that use this record
    long (*keySizeOf)(hashmap* map, const void* key);
    long (*valSizeOf)(hashmap* map, const void* value);
    int (*equalKey)(hashmap* map, const void* a, const void* b);          // null: the same pointer
    unsigned long (*hash)(hashmap* map, const void* key);                 // null: the pointer itself
    void (*copyKey)(hashmap* map, const void* source, void* destination); // null: a copy of the bytes
    void (*copyVal)(hashmap* map, const void* source, void* destination); // null: a copy of the bytes
    void* (*newKey)(hashmap* map);                                        // null: memory_allocate
    void* (*newVal)(hashmap* map);                                        // null: memory_allocate
    long (*keyAllocated)(hashmap* map, void* key); // bytes to count on top for a key just made
    long (*valAllocated)(hashmap* map, void* value);
    long (*keyFreed)(hashmap* map, void* key); // bytes to take off for a key about to be deleted
    long (*valFreed)(hashmap* map, void* value);
    long (*deleteKey)(hashmap* map, void* key); // gives the bytes released; null: memory_free
    long (*deleteVal)(hashmap* map, void* value);
    unsigned char flags; // HASHMAP_OWNS_...; with a bit clear the pointer given is stored as it is
};

enum { HASHMAP_OWNS_KEYS = 1, HASHMAP_OWNS_VALUES = 2 };

// New map with `bucket_count` buckets, or null when memory is exhausted or the count is not positive. With a
// null `info` the map makes a zeroed record and owns it: keys and values are stored as bare pointers, and
// keys compare by identity.
ORBU_EXPORT hashmap* hashmap_init(std::int32_t bucket_count, hashmap_info_record* info);

// Frees the entries, the info record if the map owns it, and the map.
ORBU_EXPORT void hashmap_uninit(hashmap* map);

// New map with the same bucket count and info record, filled by hashmap_insert in the order of iteration. A
// record that `map` owns is copied, so that either map may go first.
ORBU_EXPORT hashmap* hashmap_duplicate(hashmap* map);

ORBU_EXPORT hashmap_info_record* hashmap_info(const hashmap* map);
ORBU_EXPORT std::int32_t hashmap_count(const hashmap* map); // entries
ORBU_EXPORT std::int32_t hashmap_bucket_count(const hashmap* map);
ORBU_EXPORT std::int32_t hashmap_bucketCount(const hashmap* map); // the same

// Bytes that the map and its live iterators hold, as far as they were counted (replacing an owned value that
// is released by memory_free counts the old bytes once more instead of taking them off: hosts compare these
// figures). With a null map: memory_allocated().
ORBU_EXPORT long hashmap_allocated(const hashmap* map);

// Stores `value` under `key` and gives the entry. A key that is there keeps its entry, its place and its
// stored key, and its value is replaced; a new one goes to the end of its chain. `key` and `value` stay with
// the caller unless the flags say that bare pointers are kept; they may be those stored in this map.
ORBU_EXPORT hashmap_entry* hashmap_insert(hashmap* map, const void* key, const void* value);

// Iterator on the key's entry, or the end iterator.
ORBU_EXPORT hashmapiter* hashmap_find(hashmap* map, const void* key);

// 1 when the key is there, else 0. Allocates nothing.
ORBU_EXPORT int hashmap_has(const hashmap* map, const void* key);

// Unlinks and frees the key's entry; nothing when there is none. `key` may be the stored one.
ORBU_EXPORT void hashmap_remove(hashmap* map, const void* key);

// Moves the iterator to the following entry, then unlinks and frees the entry it was on. When the following
// entry was in the same chain the iterator is spent: it is only good for hashmapiter_uninit. Nothing happens
// at the end or with an iterator of another map.
ORBU_EXPORT void hashmap_erase(hashmap* map, hashmapiter* iter);

// Frees all entries; the buckets stay.
ORBU_EXPORT void hashmap_clear(hashmap* map);

// The first entry of the lowest bucket that has any, or the end.
ORBU_EXPORT hashmapiter* hashmap_begin(hashmap* map);
ORBU_EXPORT hashmapiter* hashmap_end(hashmap* map);

// The key and the value of an entry, as stored.
ORBU_EXPORT void* hashmap_entry_key(const hashmap_entry* entry);
ORBU_EXPORT void* hashmap_entry_value(const hashmap_entry* entry);

// Makers of iterators: at the beginning, as a copy, and on a given entry (the end when `entry` is not in
// `map`). Null when memory is exhausted.
ORBU_EXPORT hashmapiter* hashmapiter_init(hashmap* map);
ORBU_EXPORT hashmapiter* hashmapiter_init_from(const hashmapiter* iter);
ORBU_EXPORT hashmapiter* hashmapiter_init_from_entry(hashmap* map, const hashmap_entry* entry);

// Frees the iterator and takes it off its map's allocated bytes.
ORBU_EXPORT void hashmapiter_uninit(hashmapiter* iter);

// 1 when both stand on the same place: two ends of one map are always equal, otherwise bucket and slot must
// match. hashmapiter_not_equal is the opposite.
ORBU_EXPORT int hashmapiter_equal(const hashmapiter* a, const hashmapiter* b);
ORBU_EXPORT int hashmapiter_not_equal(const hashmapiter* a, const hashmapiter* b);

// 1 at or past the end, and for null.
ORBU_EXPORT int hashmapiter_is_end(const hashmapiter* iter);

// The stored key and value; null at the end. They belong to the map.
ORBU_EXPORT void* hashmapiter_key(const hashmapiter* iter);
ORBU_EXPORT void* hashmapiter_dereference(const hashmapiter* iter);

// Moves on; 1 when the iterator then stands on an entry, 0 at the end.
ORBU_EXPORT int hashmapiter_next(hashmapiter* iter);

ORBU_EXPORT hashmap* hashmapiter_hashmap(const hashmapiter* iter);
