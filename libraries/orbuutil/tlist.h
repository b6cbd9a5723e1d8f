// TList<T>: a list of the plain layer whose values are owned copies of type T.
//
// The template supplies the hooks and the life of the list; everything else is done with the list_ functions
// on handle(). T needs a default constructor, a copy constructor, operator= and operator==; a pointer type is
// held in a cell of its own, and what it points at stays with the caller. A value taken off with list_pop or
// list_shift was made by `new` and is the caller's to `delete`.
//
// All lists of one T share one info record, `sinfo`, which exists while there is at least one of them, and
// once in a process: for the types that the library itself uses it lives in the library. One thread at a
// time.
#pragma once

#include "orbuutil/c_list.h"
#include "orbuutil/c_memory.h"
#include "orbuutil/tstr.h"

// A place in a TList<T>: owns one list iterator. Dies with the entry it stands on.
template <typename T>
class ORBU_EXPORT TListIterator {
public:
    explicit TListIterator(list_iter* adopted) : mpIterator(adopted) {}
    TListIterator(list* of, list_entry* entry) : mpIterator(list_iter_init(of, entry)) {}
    TListIterator(TListIterator const& other)
        : mpIterator(list_iter_init(list_iter_list(other.mpIterator), list_iter_entry(other.mpIterator))) {}
    TListIterator& operator=(TListIterator const&) = delete;
    ~TListIterator() { list_iter_uninit(mpIterator); }

    // Moves on; true when there is an item then.
    bool next() { return list_iter_next(mpIterator) != 0; }
    bool isEnd() const { return list_iter_entry(mpIterator) == nullptr; }

    // The item; not to be asked at the end.
    T& operator*() const { return *static_cast<T*>(list_iter_dereference(mpIterator)); }
    T* operator->() const { return static_cast<T*>(list_iter_dereference(mpIterator)); }

    bool operator==(TListIterator const& other) const {
        return list_iter_equal(mpIterator, other.mpIterator) != 0;
    }

    list_iter* handle() const { return mpIterator; }

private:
    list_iter* mpIterator;
};

template <typename T>
class ORBU_EXPORT TList {
public:
    TList() : mpList(list_init(info())) { sinfo->ref_count += 1; }
    // A copy of every value (list_dup).
    TList(TList const& other) : mpList(list_dup(other.mpList)) { sinfo->ref_count += 1; }
    TList& operator=(TList const&) = delete;

    virtual ~TList() {
        list_uninit(mpList);
        sinfo->ref_count -= 1;
        if (sinfo->ref_count == 0) {
            memory_free(sinfo);
            sinfo = nullptr;
        }
    }

    // The plain list, still owned by this object.
    list* handle() const { return mpList; }

    // The first value; the list must not be empty.
    T& front() { return *static_cast<T*>(list_entry_value(list_head(mpList))); }
    T const& front() const { return *static_cast<T const*>(list_entry_value(list_head(mpList))); }

    // Removes the first value, if there is one.
    void removeFirst() { list_remove_entry(mpList, list_head(mpList)); }

    // Removes the value at `place` and gives the place that follows. `place` is spent.
    TListIterator<T> remove(TListIterator<T>& place) {
        return TListIterator<T>(mpList, list_remove_entry(mpList, list_iter_entry(place.handle())));
    }

    // The hooks. The destination of a copy comes first.
    static void copyValue(list*, void* destination, const void* source) {
        *static_cast<T*>(destination) = *static_cast<T const*>(source);
    }
    static void* newValue(list*, const void* item) {
        return item != nullptr ? new T(*static_cast<T const*>(item)) : new T();
    }
    static void deleteValue(list*, void* value) { delete static_cast<T*>(value); }
    static int compare(const void* a, const void* b) {
        return *static_cast<T const*>(a) == *static_cast<T const*>(b) ? 1 : 0;
    }

    static list_info_record* sinfo;

private:
    static list_info_record* info() {
        if (sinfo == nullptr) {
            sinfo = static_cast<list_info_record*>(memory_allocate(sizeof(list_info_record)));
            sinfo->record_size = sizeof(list_info_record);
            sinfo->item_size = sizeof(T);
            sinfo->compare = compare;
            sinfo->newValue = newValue;
            sinfo->deleteValue = deleteValue;
            sinfo->copyValue = copyValue;
        }
        return sinfo;
    }

    list* mpList;
};

template <typename T>
constinit list_info_record* TList<T>::sinfo = nullptr;

// Held by the library itself, tinstances.cpp. (TMap::keys gives lists of both.)
extern template class TList<TStr>;
extern template class TList<long>;
