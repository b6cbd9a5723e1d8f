// The records of c_hashmap.h, and look-ups that allocate nothing for use inside the library.
#pragma once

#include "orbuutil/c_hashmap.h"

struct hashmap_entry {
    void* key;
    void* value;
    hashmap_entry* next;
};

struct hashmap {
    hashmap_entry** buckets;
    std::int32_t bucket_count;
    std::int32_t entry_count;
    hashmap_info_record* info; // never null
    std::int32_t options;      // HASHMAP_OWNS_INFO
    std::int64_t allocated;
};

enum { HASHMAP_OWNS_INFO = 1 };

struct hashmapiter {
    std::int32_t bucket;  // the bucket count at the end
    hashmap_entry** slot; // what leads to the current entry: a bucket, or the next field of the entry before
    hashmap* map;
};

unsigned long private_hashmap_hash(const hashmap* map, const void* key);
int private_hashmap_keys_equal(const hashmap* map, const void* a, const void* b);

// Store a key or a value in an entry, as the flags say, and keep the account.
void private_hashmap_set_key(hashmap* map, hashmap_entry* entry, const void* key);
void private_hashmap_set_val(hashmap* map, hashmap_entry* entry, const void* value);

// Frees an entry that is unlinked already, and what it owns.
void private_memory_free_entry(hashmap* map, hashmap_entry* entry);

// The maker of every iterator.
hashmapiter* private_hashmapiter_full_init(hashmap* map, std::int32_t bucket, hashmap_entry** slot);

// The key's entry, or null.
hashmap_entry* private_hashmap_lookup(const hashmap* map, const void* key);

// A walk in the order of iteration: null at the end. private_hashmap_after wants `entry` still linked.
hashmap_entry* private_hashmap_first(const hashmap* map);
hashmap_entry* private_hashmap_after(const hashmap* map, const hashmap_entry* entry);
