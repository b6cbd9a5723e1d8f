// TMap<K, V>: a hash map of the plain layer whose keys and values are owned copies.
//
// The template supplies the hooks and the life of the map; everything else is done with the hashmap_
// functions on handle(). Every map has 17 buckets. K and V need a default constructor and operator=; K also
// operator== and a function hash(K) (see hash.h). A pointer type is held in a cell of its own, and what it
// points at stays with the caller.
//
// All maps of one K and V share one info record, `sinfo`, which exists while there is at least one of them,
// and once in a process: for the types that the library itself uses it lives in the library. One thread at a
// time.
#pragma once

#include "orbuutil/c_hashmap.h"
#include "orbuutil/c_memory.h"
#include "orbuutil/hash.h"
#include "orbuutil/tlist.h"

// Finds the hash function of a key, also one that is declared beside a host's own key type.
template <typename K>
unsigned long tmapHash(K const& key) {
    return hash(key);
}

template <typename K, typename V>
class ORBU_EXPORT TMap {
public:
    TMap() : mpMap(hashmap_init(bucketCount, info())) { sinfo->ref_count += 1; }
    // A copy of every key and value (hashmap_duplicate).
    TMap(TMap const& other) : mpMap(hashmap_duplicate(other.mpMap)) { sinfo->ref_count += 1; }
    TMap& operator=(TMap const&) = delete;

    virtual ~TMap() {
        hashmap_uninit(mpMap);
        sinfo->ref_count -= 1;
        if (sinfo->ref_count == 0) {
            memory_free(sinfo);
            sinfo = nullptr;
        }
    }

    // The plain map, still owned by this object.
    hashmap* handle() const { return mpMap; }

    // Exchanges all entries.
    void swap(TMap& other) {
        hashmap* map = mpMap;
        mpMap = other.mpMap;
        other.mpMap = map;
    }

    // Copies of the keys, in the order of iteration.
    TList<K> keys() const {
        TList<K> result;
        hashmapiter* place = hashmap_begin(mpMap);
        for (int more = !hashmapiter_is_end(place); more != 0; more = hashmapiter_next(place)) {
            list_push(result.handle(), hashmapiter_key(place));
        }
        hashmapiter_uninit(place);
        return result;
    }

    // The hooks. The source of a copy comes first. Deleting tells 0 bytes: what `new` gave is not counted.
    static int equalKey(hashmap*, const void* a, const void* b) {
        return *static_cast<K const*>(a) == *static_cast<K const*>(b) ? 1 : 0;
    }
    static unsigned long hash(hashmap*, const void* key) { return tmapHash(*static_cast<K const*>(key)); }
    static void copyKey(hashmap*, const void* source, void* destination) {
        *static_cast<K*>(destination) = *static_cast<K const*>(source);
    }
    static void copyVal(hashmap*, const void* source, void* destination) {
        *static_cast<V*>(destination) = *static_cast<V const*>(source);
    }
    static void* newKey(hashmap*) { return new K(); }
    static void* newVal(hashmap*) { return new V(); }
    static long deleteKey(hashmap*, void* key) {
        delete static_cast<K*>(key);
        return 0;
    }
    static long deleteVal(hashmap*, void* value) {
        delete static_cast<V*>(value);
        return 0;
    }

    static hashmap_info_record* sinfo;

private:
    static constexpr std::int32_t bucketCount = 17;

    static hashmap_info_record* info() {
        if (sinfo == nullptr) {
            sinfo = static_cast<hashmap_info_record*>(memory_allocate(sizeof(hashmap_info_record)));
            sinfo->record_size = sizeof(hashmap_info_record);
            sinfo->key_size = sizeof(K);
            sinfo->val_size = sizeof(V);
            sinfo->equalKey = equalKey;
            sinfo->hash = hash;
            sinfo->copyKey = copyKey;
            sinfo->copyVal = copyVal;
            sinfo->newKey = newKey;
            sinfo->newVal = newVal;
            sinfo->deleteKey = deleteKey;
            sinfo->deleteVal = deleteVal;
            sinfo->flags = HASHMAP_OWNS_KEYS | HASHMAP_OWNS_VALUES;
        }
        return sinfo;
    }

    hashmap* mpMap;
};

template <typename K, typename V>
constinit hashmap_info_record* TMap<K, V>::sinfo = nullptr;

// Held by the library itself, tinstances.cpp.
extern template class TMap<TStr, TStr>;
