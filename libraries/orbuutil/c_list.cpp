#include "orbuutil/c_listPrivate.h"
#include "orbuutil/c_memory.h"

#include <algorithm>
#include <cstring>

namespace {

// The test of list_remove and list_index. It differs from that of list_find: `item` comes first, and without
// a compare hook the bytes decide.
bool matches(list* of, const void* item, const void* value) {
    const list_info_record* info = of->info;
    if (info != nullptr && info->compare != nullptr) {
        return info->compare(item, value) != 0;
    }
    if (info != nullptr && (info->item_size != 0 || info->sizeOf != nullptr) && item != nullptr &&
        value != nullptr) {
        const long bytes = std::min(private_list_item_size(of, item), private_list_item_size(of, value));
        return bytes <= 0 || std::memcmp(item, value, static_cast<unsigned long>(bytes)) == 0;
    }
    return item == value;
}

// The test of list_find and list_equal.
bool same(const list* of, const void* value, const void* item) {
    if (of->info != nullptr && of->info->compare != nullptr) {
        return of->info->compare(value, item) != 0;
    }
    return value == item;
}

list_entry* entry_at(const list* of, std::int32_t index) {
    if (of == nullptr || index < 0 || index >= of->count) {
        return nullptr;
    }
    list_entry* entry = of->head;
    while (index-- > 0) {
        entry = entry->next;
    }
    return entry;
}

void unlink(list* of, list_entry* entry) {
    (entry->previous != nullptr ? entry->previous->next : of->head) = entry->next;
    (entry->next != nullptr ? entry->next->previous : of->tail) = entry->previous;
    of->count -= 1;
}

void* take(list* of, list_entry* entry) {
    if (entry == nullptr) {
        return nullptr;
    }
    void* value = entry->value;
    unlink(of, entry);
    memory_free(entry);
    return value;
}

} // namespace

list_entry* private_list_make_entry(list* of, const void* item) {
    auto* entry = static_cast<list_entry*>(memory_allocate(sizeof(list_entry)));
    const list_info_record* info = of->info;
    if (info == nullptr) {
        entry->value = const_cast<void*>(item);
        return entry;
    }
    if (info->newValue != nullptr) {
        entry->value = info->newValue(of, item);
        if (entry->value != nullptr) {
            return entry;
        }
    }
    const long size = info->sizeOf != nullptr ? info->sizeOf(of, item) : info->item_size;
    if (size == 0) {
        entry->value = const_cast<void*>(item);
        return entry;
    }
    entry->value = memory_allocate(static_cast<unsigned long>(size));
    if (item != nullptr) {
        if (info->copyValue != nullptr) {
            info->copyValue(of, entry->value, item);
        } else {
            std::memcpy(entry->value, item, static_cast<unsigned long>(size));
        }
    }
    return entry;
}

void private_list_remove_entry(list* of, list_entry* entry) {
    const list_info_record* info = of->info;
    unlink(of, entry);
    if (info != nullptr && info->deleteValue != nullptr) {
        info->deleteValue(of, entry->value);
    } else if (info != nullptr && (info->item_size != 0 || info->sizeOf != nullptr)) {
        memory_free(entry->value);
    }
    memory_free(entry);
}

void private_list_affix_entry(list* of, list_entry* where, list_entry* entry) {
    if (where == nullptr) {
        where = of->tail;
    }
    entry->previous = where;
    entry->next = where != nullptr ? where->next : nullptr;
    (where != nullptr ? where->next : of->head) = entry;
    (entry->next != nullptr ? entry->next->previous : of->tail) = entry;
    of->count += 1;
}

void private_list_prefix_entry(list* of, list_entry* where, list_entry* entry) {
    if (where == nullptr) {
        where = of->head;
    }
    entry->next = where;
    entry->previous = where != nullptr ? where->previous : nullptr;
    (where != nullptr ? where->previous : of->tail) = entry;
    (entry->previous != nullptr ? entry->previous->next : of->head) = entry;
    of->count += 1;
}

long private_list_item_size(list* of, const void* item) {
    const list_info_record* info = of->info;
    if (info != nullptr && info->item_size != 0) {
        return info->item_size;
    }
    return info != nullptr && info->sizeOf != nullptr ? info->sizeOf(of, item) : 8;
}

list* list_init(list_info_record* info) {
    auto* made = static_cast<list*>(memory_allocate(sizeof(list)));
    if (made != nullptr) {
        made->info = info;
    }
    return made;
}

void list_clear(list* of) {
    while (of != nullptr && of->head != nullptr) {
        private_list_remove_entry(of, of->head);
    }
}

void list_uninit(list* of) {
    list_clear(of);
    memory_free(of);
}

list* list_dup(const list* other) {
    if (other == nullptr) {
        return nullptr;
    }
    list* copy = list_init(other->info);
    list_append(copy, other);
    return copy;
}

void list_append(list* to, const list* other) {
    if (to == nullptr || other == nullptr) {
        return;
    }
    // Counted, so that a list can be appended to itself.
    std::int32_t left = other->count;
    for (list_entry* entry = other->head; left > 0; entry = entry->next, --left) {
        list_push(to, entry->value);
    }
}

list_info_record* list_set_info(list* of, list_info_record* info) {
    if (of == nullptr) {
        return nullptr;
    }
    list_info_record* old = of->info;
    of->info = info;
    return old;
}

list_info_record* list_info(const list* of) { return of != nullptr ? of->info : nullptr; }

std::int32_t list_count(const list* of) { return of != nullptr ? of->count : 0; }

int list_is_empty(const list* of) { return list_count(of) == 0; }

list_entry* list_head(const list* of) { return of != nullptr ? of->head : nullptr; }

list_entry* list_tail(const list* of) { return of != nullptr ? of->tail : nullptr; }

void* list_entry_value(const list_entry* entry) { return entry != nullptr ? entry->value : nullptr; }

list_entry* list_entry_next(const list_entry* entry) { return entry != nullptr ? entry->next : nullptr; }

list_entry* list_push(list* of, const void* item) {
    if (of == nullptr) {
        return nullptr;
    }
    list_entry* entry = private_list_make_entry(of, item);
    private_list_affix_entry(of, nullptr, entry);
    return entry;
}

list_entry* list_unshift(list* of, const void* item) {
    if (of == nullptr) {
        return nullptr;
    }
    list_entry* entry = private_list_make_entry(of, item);
    private_list_prefix_entry(of, nullptr, entry);
    return entry;
}

void* list_pop(list* of) { return take(of, list_tail(of)); }

void* list_shift(list* of) { return take(of, list_head(of)); }

int list_remove(list* of, const void* item) {
    for (list_entry* entry = list_head(of); entry != nullptr; entry = entry->next) {
        if (matches(of, item, entry->value)) {
            private_list_remove_entry(of, entry);
            return 1;
        }
    }
    return 0;
}

std::int32_t list_index(const list* of, const void* item) {
    std::int32_t index = 0;
    for (list_entry* entry = list_head(of); entry != nullptr; entry = entry->next, ++index) {
        if (matches(const_cast<list*>(of), item, entry->value)) {
            return index;
        }
    }
    return -1;
}

list_entry* list_remove_entry(list* of, list_entry* entry) {
    if (of == nullptr || entry == nullptr) {
        return nullptr;
    }
    list_entry* following = entry->next;
    private_list_remove_entry(of, entry);
    return following;
}

list_iter* list_find(list* of, const void* item) {
    list_entry* entry = list_head(of);
    while (entry != nullptr && !same(of, entry->value, item)) {
        entry = entry->next;
    }
    return list_iter_init(of, entry);
}

list_iter* list_at(list* of, std::int32_t index) { return list_iter_init(of, entry_at(of, index)); }

list_entry* list_insert_before(list* of, std::int32_t index, const void* item) {
    return index > 0 ? list_insert_after(of, index - 1, item) : list_unshift(of, item);
}

list_entry* list_insert_after(list* of, std::int32_t index, const void* item) {
    if (of == nullptr) {
        return nullptr;
    }
    list_entry* entry = private_list_make_entry(of, item);
    private_list_affix_entry(of, entry_at(of, index), entry);
    return entry;
}

int list_equal(const list* a, const list* b) {
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    if (a->info != b->info) {
        return 0;
    }
    const list_entry* left = a->head;
    const list_entry* right = b->head;
    while (left != nullptr && right != nullptr && same(a, left->value, right->value)) {
        left = left->next;
        right = right->next;
    }
    return left == nullptr && right == nullptr;
}

list_iter* list_begin(list* of) { return list_iter_init(of, list_head(of)); }

list_iter* list_end(list* of) { return list_iter_init(of, nullptr); }

list_iter* list_iter_init(list* of, list_entry* entry) {
    if (of == nullptr) {
        return nullptr;
    }
    auto* iter = static_cast<list_iter*>(memory_allocate(sizeof(list_iter)));
    if (iter != nullptr) {
        iter->of = of;
        iter->entry = entry;
    }
    return iter;
}

void list_iter_uninit(list_iter* iter) { memory_free(iter); }

int list_iter_equal(const list_iter* a, const list_iter* b) {
    if (a == nullptr || b == nullptr) {
        return a == b;
    }
    return a->of == b->of && a->entry == b->entry;
}

int list_iter_not_equal(const list_iter* a, const list_iter* b) { return !list_iter_equal(a, b); }

int list_iter_next(list_iter* iter) {
    if (iter == nullptr || iter->entry == nullptr) {
        return 0;
    }
    iter->entry = iter->entry->next;
    return iter->entry != nullptr;
}

void* list_iter_dereference(const list_iter* iter) {
    return iter != nullptr ? list_entry_value(iter->entry) : nullptr;
}

list* list_iter_list(const list_iter* iter) { return iter != nullptr ? iter->of : nullptr; }

list_entry* list_iter_entry(const list_iter* iter) { return iter != nullptr ? iter->entry : nullptr; }
