// Look-ups in a TMap that allocate nothing, for use inside the library.
#pragma once

#include "orbuutil/c_hashmapPrivate.h"
#include "orbuutil/tmap.h"

// The stored value's address, or null. Good until the key is set again or removed.
template <typename K, typename V>
V* private_tmap_find(TMap<K, V> const& map, K const& key) {
    hashmap_entry* entry = private_hashmap_lookup(map.handle(), &key);
    return entry != nullptr ? static_cast<V*>(entry->value) : nullptr;
}
