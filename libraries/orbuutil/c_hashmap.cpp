#include "orbuutil/c_hashmapPrivate.h"
#include "orbuutil/c_memory.h"

#include <cstring>

namespace {

// What the info record says about keys, or about values: both are treated alike.
struct Side {
    bool owned;
    long size;
    long (*sizeOf)(hashmap*, const void*);
    void* (*make)(hashmap*);
    void (*copy)(hashmap*, const void*, void*);
    long (*allocated)(hashmap*, void*);
    long (*freed)(hashmap*, void*);
    long (*destroy)(hashmap*, void*);
};

Side key_side(const hashmap_info_record& info) {
    return {(info.flags & HASHMAP_OWNS_KEYS) != 0,
            info.key_size,
            info.keySizeOf,
            info.newKey,
            info.copyKey,
            info.keyAllocated,
            info.keyFreed,
            info.deleteKey};
}

Side value_side(const hashmap_info_record& info) {
    return {(info.flags & HASHMAP_OWNS_VALUES) != 0,
            info.val_size,
            info.valSizeOf,
            info.newVal,
            info.copyVal,
            info.valAllocated,
            info.valFreed,
            info.deleteVal};
}

// Deletes an owned key or value; gives the bytes that the deletion told.
long release(hashmap* map, const Side& side, void* stored) {
    if (!side.owned || stored == nullptr) {
        return 0;
    }
    if (side.freed != nullptr) {
        map->allocated -= side.freed(map, stored);
    }
    return side.destroy != nullptr ? side.destroy(map, stored) : memory_free(stored);
}

void store(hashmap* map, const Side& side, void*& stored, const void* given) {
    if (!side.owned) {
        stored = const_cast<void*>(given);
        return;
    }
    long size = side.size;
    if (size == 0 && side.sizeOf != nullptr) {
        size = side.sizeOf(map, given);
    }
    const long before = memory_allocated();
    void* made = side.make != nullptr ? side.make(map) : memory_allocate(static_cast<unsigned long>(size));
    map->allocated += memory_allocated() - before;
    if (side.allocated != nullptr) {
        map->allocated += side.allocated(map, made);
    }
    if (given != nullptr) {
        if (side.copy != nullptr) {
            side.copy(map, given, made);
        } else {
            std::memcpy(made, given, static_cast<unsigned long>(size));
        }
    }
    // The old one goes last: what was given may be the old one itself, or something that it owns. Its bytes
    // are added here, where freeing an entry takes them off. Hosts compare the figures, so both rules stay.
    void* old = stored;
    stored = made;
    map->allocated += release(map, side, old);
}

// The pointer that leads to the key's entry, or the null one at the end of its chain.
hashmap_entry** find_slot(const hashmap* map, const void* key, std::int32_t& bucket) {
    bucket = static_cast<std::int32_t>(private_hashmap_hash(map, key) %
                                       static_cast<unsigned long>(map->bucket_count));
    hashmap_entry** slot = &map->buckets[bucket];
    while (*slot != nullptr && !private_hashmap_keys_equal(map, (*slot)->key, key)) {
        slot = &(*slot)->next;
    }
    return slot;
}

// The first bucket that has entries, from `bucket` on; the bucket count when there is none.
std::int32_t filled_bucket(const hashmap* map, std::int32_t bucket) {
    while (bucket < map->bucket_count && map->buckets[bucket] == nullptr) {
        ++bucket;
    }
    return bucket;
}

void unlink_and_free(hashmap* map, hashmap_entry** slot) {
    hashmap_entry* entry = *slot;
    *slot = entry->next; // NOLINT(clang-analyzer-core.NullDereference): the slot leads to an entry
    map->entry_count -= 1;
    private_memory_free_entry(map, entry);
}

} // namespace

unsigned long private_hashmap_hash(const hashmap* map, const void* key) {
    return map->info->hash != nullptr ? map->info->hash(const_cast<hashmap*>(map), key)
                                      : reinterpret_cast<unsigned long>(key);
}

int private_hashmap_keys_equal(const hashmap* map, const void* a, const void* b) {
    return map->info->equalKey != nullptr ? map->info->equalKey(const_cast<hashmap*>(map), a, b) : a == b;
}

void private_hashmap_set_key(hashmap* map, hashmap_entry* entry, const void* key) {
    store(map, key_side(*map->info), entry->key, key);
}

void private_hashmap_set_val(hashmap* map, hashmap_entry* entry, const void* value) {
    store(map, value_side(*map->info), entry->value, value);
}

void private_memory_free_entry(hashmap* map, hashmap_entry* entry) {
    long bytes = release(map, key_side(*map->info), entry->key);
    bytes += release(map, value_side(*map->info), entry->value);
    bytes += memory_free(entry);
    map->allocated -= bytes;
}

hashmapiter* private_hashmapiter_full_init(hashmap* map, std::int32_t bucket, hashmap_entry** slot) {
    if (map == nullptr) {
        return nullptr;
    }
    const long before = memory_allocated();
    auto* iter = static_cast<hashmapiter*>(memory_allocate(sizeof(hashmapiter)));
    if (iter == nullptr) {
        return nullptr;
    }
    map->allocated += memory_allocated() - before;
    iter->bucket = bucket;
    iter->slot = slot;
    iter->map = map;
    return iter;
}

hashmap_entry* private_hashmap_lookup(const hashmap* map, const void* key) {
    std::int32_t bucket = 0;
    return map != nullptr ? *find_slot(map, key, bucket) : nullptr;
}

hashmap_entry* private_hashmap_first(const hashmap* map) {
    if (map == nullptr) {
        return nullptr;
    }
    const std::int32_t bucket = filled_bucket(map, 0);
    return bucket < map->bucket_count ? map->buckets[bucket] : nullptr;
}

hashmap_entry* private_hashmap_after(const hashmap* map, const hashmap_entry* entry) {
    if (entry->next != nullptr) {
        return entry->next;
    }
    const unsigned long here =
        private_hashmap_hash(map, entry->key) % static_cast<unsigned long>(map->bucket_count);
    const std::int32_t bucket = filled_bucket(map, static_cast<std::int32_t>(here) + 1);
    return bucket < map->bucket_count ? map->buckets[bucket] : nullptr;
}

hashmap* hashmap_init(std::int32_t bucket_count, hashmap_info_record* info) {
    if (bucket_count <= 0) {
        return nullptr;
    }
    const long before = memory_allocated();
    auto* map = static_cast<hashmap*>(memory_allocate(sizeof(hashmap)));
    if (map == nullptr) {
        return nullptr;
    }
    map->bucket_count = bucket_count;
    map->buckets = static_cast<hashmap_entry**>(
        memory_allocate(static_cast<unsigned long>(bucket_count) * sizeof(hashmap_entry*)));
    map->info = info;
    if (info == nullptr) {
        map->info = static_cast<hashmap_info_record*>(memory_allocate(sizeof(hashmap_info_record)));
        map->options = HASHMAP_OWNS_INFO;
    }
    if (map->buckets == nullptr || map->info == nullptr) {
        memory_free(map->buckets);
        if (info == nullptr) {
            memory_free(map->info);
        }
        memory_free(map);
        return nullptr;
    }
    map->allocated = memory_allocated() - before;
    return map;
}

void hashmap_uninit(hashmap* map) {
    if (map == nullptr) {
        return;
    }
    hashmap_clear(map);
    memory_free(map->buckets);
    if ((map->options & HASHMAP_OWNS_INFO) != 0) {
        memory_free(map->info);
    }
    memory_free(map);
}

hashmap* hashmap_duplicate(hashmap* map) {
    if (map == nullptr) {
        return nullptr;
    }
    const bool own_info = (map->options & HASHMAP_OWNS_INFO) != 0;
    hashmap* copy = hashmap_init(map->bucket_count, own_info ? nullptr : map->info);
    if (copy == nullptr) {
        return nullptr;
    }
    if (own_info) {
        *copy->info = *map->info;
    }
    for (std::int32_t bucket = 0; bucket < map->bucket_count; ++bucket) {
        for (hashmap_entry* entry = map->buckets[bucket]; entry != nullptr; entry = entry->next) {
            hashmap_insert(copy, entry->key, entry->value);
        }
    }
    return copy;
}

hashmap_info_record* hashmap_info(const hashmap* map) { return map != nullptr ? map->info : nullptr; }

std::int32_t hashmap_count(const hashmap* map) { return map != nullptr ? map->entry_count : 0; }

std::int32_t hashmap_bucket_count(const hashmap* map) { return map != nullptr ? map->bucket_count : 0; }

std::int32_t hashmap_bucketCount(const hashmap* map) { return hashmap_bucket_count(map); }

long hashmap_allocated(const hashmap* map) { return map != nullptr ? map->allocated : memory_allocated(); }

hashmap_entry* hashmap_insert(hashmap* map, const void* key, const void* value) {
    if (map == nullptr) {
        return nullptr;
    }
    std::int32_t bucket = 0;
    hashmap_entry** slot = find_slot(map, key, bucket);
    hashmap_entry* entry = *slot;
    if (entry == nullptr) {
        const long before = memory_allocated();
        entry = static_cast<hashmap_entry*>(memory_allocate(sizeof(hashmap_entry)));
        map->allocated += memory_allocated() - before;
        private_hashmap_set_key(map, entry, key);
        *slot = entry;
        map->entry_count += 1;
    }
    private_hashmap_set_val(map, entry, value);
    return entry;
}

hashmapiter* hashmap_find(hashmap* map, const void* key) {
    if (map == nullptr) {
        return nullptr;
    }
    std::int32_t bucket = 0;
    hashmap_entry** slot = find_slot(map, key, bucket);
    return *slot != nullptr ? private_hashmapiter_full_init(map, bucket, slot) : hashmap_end(map);
}

int hashmap_has(const hashmap* map, const void* key) { return private_hashmap_lookup(map, key) != nullptr; }

void hashmap_remove(hashmap* map, const void* key) {
    if (map == nullptr) {
        return;
    }
    std::int32_t bucket = 0;
    hashmap_entry** slot = find_slot(map, key, bucket);
    if (*slot != nullptr) {
        unlink_and_free(map, slot);
    }
}

void hashmap_erase(hashmap* map, hashmapiter* iter) {
    if (map == nullptr || iter == nullptr || iter->map != map || hashmapiter_is_end(iter)) {
        return;
    }
    hashmap_entry** slot = iter->slot;
    hashmapiter_next(iter);
    if (iter->slot == &(*slot)->next) {
        // Spent: its slot lies in the entry about to be freed. It reads as the end rather than freed memory.
        iter->bucket = map->bucket_count;
        iter->slot = map->buckets + map->bucket_count;
    }
    unlink_and_free(map, slot);
}

void hashmap_clear(hashmap* map) {
    if (map == nullptr) {
        return;
    }
    for (std::int32_t bucket = 0; bucket < map->bucket_count; ++bucket) {
        while (map->buckets[bucket] != nullptr) {
            unlink_and_free(map, &map->buckets[bucket]);
        }
    }
}

hashmapiter* hashmap_begin(hashmap* map) {
    if (map == nullptr) {
        return nullptr;
    }
    const std::int32_t bucket = filled_bucket(map, 0);
    return private_hashmapiter_full_init(map, bucket, map->buckets + bucket);
}

hashmapiter* hashmap_end(hashmap* map) {
    if (map == nullptr) {
        return nullptr;
    }
    return private_hashmapiter_full_init(map, map->bucket_count, map->buckets + map->bucket_count);
}

void* hashmap_entry_key(const hashmap_entry* entry) { return entry != nullptr ? entry->key : nullptr; }

void* hashmap_entry_value(const hashmap_entry* entry) { return entry != nullptr ? entry->value : nullptr; }

hashmapiter* hashmapiter_init(hashmap* map) { return hashmap_begin(map); }

hashmapiter* hashmapiter_init_from(const hashmapiter* iter) {
    return iter != nullptr ? private_hashmapiter_full_init(iter->map, iter->bucket, iter->slot) : nullptr;
}

hashmapiter* hashmapiter_init_from_entry(hashmap* map, const hashmap_entry* entry) {
    if (map == nullptr || entry == nullptr) {
        return hashmap_end(map);
    }
    const auto bucket = static_cast<std::int32_t>(private_hashmap_hash(map, entry->key) %
                                                  static_cast<unsigned long>(map->bucket_count));
    hashmap_entry** slot = &map->buckets[bucket];
    while (*slot != nullptr && *slot != entry) {
        slot = &(*slot)->next;
    }
    return *slot != nullptr ? private_hashmapiter_full_init(map, bucket, slot) : hashmap_end(map);
}

void hashmapiter_uninit(hashmapiter* iter) {
    if (iter == nullptr || iter->map == nullptr) {
        return;
    }
    hashmap* map = iter->map;
    map->allocated -= memory_free(iter);
}

int hashmapiter_equal(const hashmapiter* a, const hashmapiter* b) {
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    if (a->map == b->map && hashmapiter_is_end(a) && hashmapiter_is_end(b)) {
        return 1;
    }
    return a->bucket == b->bucket && a->slot == b->slot;
}

int hashmapiter_not_equal(const hashmapiter* a, const hashmapiter* b) { return !hashmapiter_equal(a, b); }

int hashmapiter_is_end(const hashmapiter* iter) {
    return iter == nullptr || iter->map == nullptr || iter->bucket >= iter->map->bucket_count;
}

void* hashmapiter_key(const hashmapiter* iter) {
    return hashmapiter_is_end(iter) ? nullptr : hashmap_entry_key(*iter->slot);
}

void* hashmapiter_dereference(const hashmapiter* iter) {
    return hashmapiter_is_end(iter) ? nullptr : hashmap_entry_value(*iter->slot);
}

int hashmapiter_next(hashmapiter* iter) {
    if (hashmapiter_is_end(iter)) {
        return 0;
    }
    hashmap_entry* entry = *iter->slot;
    if (entry != nullptr && entry->next != nullptr) {
        iter->slot = &entry->next;
        return 1;
    }
    iter->bucket = filled_bucket(iter->map, iter->bucket + 1);
    iter->slot = iter->map->buckets + iter->bucket;
    return iter->bucket < iter->map->bucket_count;
}

hashmap* hashmapiter_hashmap(const hashmapiter* iter) { return iter != nullptr ? iter->map : nullptr; }
