// The records of c_list.h. Inside the library a list is walked by its entries:
// for (list_entry* e = list_head(l); e != nullptr; e = e->next)
#pragma once

#include "orbuutil/c_list.h"

struct list_entry {
    list_entry* previous;
    list_entry* next;
    void* value;
};

struct list {
    list_info_record* info; // may be null
    list_entry* head;
    list_entry* tail;
    std::int32_t count;
};

struct list_iter {
    list* of;
    list_entry* entry; // null: the end
};

// A new entry, not linked yet, with the stored form of `item`.
list_entry* private_list_make_entry(list* of, const void* item);

// Deletes the value as the info record says, unlinks the entry and frees it.
void private_list_remove_entry(list* of, list_entry* entry);

// Link `entry` behind `where` (null: at the tail), or in front of it (null: at the head).
void private_list_affix_entry(list* of, list_entry* where, list_entry* entry);
void private_list_prefix_entry(list* of, list_entry* where, list_entry* entry);

// Bytes of an item: the fixed size, else what the hook says, else 8.
long private_list_item_size(list* of, const void* item);
