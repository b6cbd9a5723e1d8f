#include "qmx/qmxDictionary.h"

#include "orbuutil/c_hashmapPrivate.h"
#include "orbuutil/c_listPrivate.h"
#include "orbuutil/c_stropsPrivate.h"
#include "orbuutil/tstrList.h"
#include "qmx/qmxTextPrivate.h"

#include <cstring>
#include <memory>
#include <new>
#include <typeinfo>
#include <utility>

template class TMap<TStr, QMXValue>;

namespace {

TStr const& key_of(hashmap_entry const* entry) { return *static_cast<TStr const*>(entry->key); }

QMXValue* value_of(hashmap_entry const* entry) { return static_cast<QMXValue*>(entry->value); }

// A key of one component is looked up as it stands. An empty one has no component at all.
bool is_plain(StrKey const& key) { return key.isWithout('.'); }

bool is_plain(TStr const& key) { return is_plain(StrKey(key.handle())); }

// What leads to the key's entry, or the null pointer at the end of its chain: the map's own look-up without
// its hooks.
hashmap_entry** slot_of(hashmap const* map, StrKey const& key) {
    constexpr unsigned long buckets = 17;
    hashmap_entry** slot = &map->buckets[key.hash() % buckets];
    while (*slot != nullptr && !(key == key_of(*slot).handle())) {
        slot = &(*slot)->next;
    }
    return slot;
}

hashmap_entry** slot_of(hashmap const* map, TStr const& key) { return slot_of(map, StrKey(key.handle())); }

QMXValue* value_at(hashmap_entry** slot) { return *slot != nullptr ? value_of(*slot) : nullptr; }

// Puts a new entry at the end of a chain.
void append(hashmap* map, hashmap_entry** slot, QMXDictionaryEntry* entry) {
    *slot = entry;
    map->entry_count += 1;
}

// Takes an entry to the end of its chain, as if it were removed and set.
void move_to_end(hashmap_entry** slot) {
    hashmap_entry* entry = *slot;
    if (entry->next == nullptr) {
        return;
    }
    *slot = entry->next;
    while (*slot != nullptr) {
        slot = &(*slot)->next;
    }
    entry->next = nullptr;
    *slot = entry;
}

// The map's own way would free key and value one by one, so every removal is done here.
void remove_at(hashmap* map, hashmap_entry** slot) {
    auto* entry = static_cast<QMXDictionaryEntry*>(*slot);
    *slot = entry->next;
    map->entry_count -= 1;
    QMXDictionaryEntry::destroy(entry);
}

template <typename Visit>
void for_each_entry(hashmap const* map, Visit visit) {
    for (std::int32_t bucket = 0; bucket < map->bucket_count; ++bucket) {
        for (hashmap_entry const* e = map->buckets[bucket]; e != nullptr; e = e->next) {
            visit(*static_cast<QMXDictionaryEntry const*>(e));
        }
    }
}

// Keeps a dictionary alive that what is done meanwhile might release.
class Held {
public:
    explicit Held(QMXDictionary const& dictionary) : mpDictionary(const_cast<QMXDictionary*>(&dictionary)) {
        mpDictionary->retain();
    }
    Held(Held const&) = delete;
    Held& operator=(Held const&) = delete;
    ~Held() { mpDictionary->release(); }

private:
    QMXDictionary* mpDictionary;
};

} // namespace

QMXDictionaryEntry::QMXDictionaryEntry(char const* name, long bytes) : hashmap_entry{}, mRecord{nullptr, 0} {
    hashmap_entry::key = &mName;
    hashmap_entry::value = &content;
    void* handle = nullptr;
    if (name != nullptr) {
        char* text = reinterpret_cast<char*>(this + 1);
        std::memcpy(text, name, static_cast<size_t>(bytes));
        std::memset(text + bytes, 0, 1 + private_str_padding);
        mRecord = {text, bytes + 1};
        handle = &mRecord;
    }
    std::construct_at(&mName, handle);
    mIsPath = !StrKey(mName.handle()).isWithout('.');
}

QMXDictionaryEntry::~QMXDictionaryEntry() { mName.clearCachedEncoding(); }

QMXDictionaryEntry* QMXDictionaryEntry::make(char const* key, long bytes) {
    const auto behind = static_cast<size_t>(key != nullptr ? bytes + 1 + private_str_padding : 0);
    return new (::operator new(sizeof(QMXDictionaryEntry) + behind)) QMXDictionaryEntry(key, bytes);
}

QMXDictionaryEntry* QMXDictionaryEntry::make(str const* key) {
    return make(key != nullptr ? private_str_text_or_empty(key) : nullptr, private_str_extent(key));
}

void QMXDictionaryEntry::destroy(QMXDictionaryEntry* entry) {
    entry->~QMXDictionaryEntry();
    ::operator delete(entry);
}

// From a dictionary to its parent and on. In a ring it stops when it comes back to a mark that is set anew
// after twice as many steps each time: by then it has been everywhere.
class QMXDictionary::Outward {
public:
    explicit Outward(QMXDictionary const* start) : mpAt(start), mpMark(start) {}

    QMXDictionary const* operator->() const { return mpAt; }
    explicit operator bool() const { return mpAt != nullptr; }

    void operator++() {
        mpAt = mpAt->mpParent;
        if (mpAt == mpMark) {
            mIsRing = mpAt != nullptr;
            mpAt = nullptr;
        } else if (++mSteps == mStepsToMark) {
            mpMark = mpAt;
            mStepsToMark += mStepsToMark;
            mSteps = 0;
        }
    }

    static bool meetsRing(QMXDictionary const* start) {
        Outward d(start);
        while (d) {
            ++d;
        }
        return d.mIsRing;
    }

private:
    QMXDictionary const* mpAt;
    QMXDictionary const* mpMark;
    bool mIsRing = false;
    long mSteps = 0;
    long mStepsToMark = 1;
};

[[gnu::noinline]] QMXDictionary* private_qmx_keep_dictionary(QMXDictionary const& dictionary) {
    return new QMXDictionary(dictionary);
}

[[gnu::noinline]] QMXDictionary* private_qmx_keep_new_dictionary() { return new QMXDictionary(); }

QMXDictionaryBase::QMXDictionaryBase() = default;

QMXDictionaryBase::QMXDictionaryBase(QMXDictionaryBase const& other) = default;

QMXDictionaryBase& QMXDictionaryBase::operator=(QMXDictionaryBase const&) { return *this; }

QMXDictionaryBase::~QMXDictionaryBase() = default;

TStr QMXDictionaryBase::operator[](TStr const& key) const { return get(key); }

QMXDictionary::QMXDictionary(QMXDictionary* parent) : mpParent(parent) {
    if (mpParent != nullptr) {
        mpParent->retain();
    }
}

QMXDictionary::QMXDictionary(QMXDictionary const& other)
    : QMXDictionaryBase(other), mpParent(other.mpParent) {
    if (mpParent != nullptr) {
        mpParent->retain();
    }
    if (typeid(other) == typeid(QMXDictionary)) {
        for_each_entry(other.mMap.handle(), [this](QMXDictionaryEntry const& entry) {
            QMXValue copy(entry.content);
            insert(entry.plainName(), copy, false);
        });
        return;
    }
    const TList<TStr> names = other.keys();
    for (list_entry const* e = list_head(names.handle()); e != nullptr; e = e->next) {
        TStr const& key = *static_cast<TStr const*>(e->value);
        if (QMXValue const* value = other._internalGetValue(key, true)) {
            QMXValue copy(*value);
            insert(key.handle(), copy, false);
        }
    }
}

QMXDictionary::~QMXDictionary() {
    QMXDictionary::clear();
    if (mpParent != nullptr) {
        mpParent->release();
    }
}

QMXDictionary& QMXDictionary::operator=(QMXDictionary const& other) {
    if (this == &other) {
        return *this;
    }
    // The other one may be the parent, or live in an entry of this one.
    const Held held(other);
    if (QMXDictionary* parent = std::exchange(mpParent, nullptr)) {
        parent->release();
    }
    clear();
    update(other);
    mpParent = other.mpParent;
    if (mpParent != nullptr) {
        mpParent->retain();
    }
    return *this;
}

void QMXDictionary::swap(QMXDictionary& other) {
    mMap.swap(other.mMap);
    std::swap(mpParent, other.mpParent);
}

bool QMXDictionary::hasPaths() const {
    bool any = false;
    for_each_entry(mMap.handle(), [&](QMXDictionaryEntry const& entry) { any = any || entry.isPath(); });
    return any;
}

void QMXDictionary::update(QMXDictionary const& other) {
    const Held held(other);
    if (this != &other && !other.hasPaths()) {
        for_each_entry(other.mMap.handle(),
                       [this](QMXDictionaryEntry const& entry) { set(entry.name(), entry.content); });
        return;
    }
    // A path may lead back into the map that is walked.
    const TList<TStr> names = other.mMap.keys();
    for (list_entry const* e = list_head(names.handle()); e != nullptr; e = e->next) {
        TStr const& key = *static_cast<TStr const*>(e->value);
        if (QMXValue const* value = other.own(key)) {
            set(key, *value);
        }
    }
}

QMXValue* QMXDictionary::own(TStr const& key) const { return value_at(slot_of(mMap.handle(), key)); }

// The value to which the path leads from here, parents left aside.
QMXValue* QMXDictionary::found(TStr const& key) const {
    const StrKey plain(key.handle());
    if (is_plain(plain)) {
        return value_at(slot_of(mMap.handle(), plain));
    }
    TStr path(key);
    QMXValue* value = nullptr;
    resolve(path, &value, false);
    return value;
}

// The same for the getters, which ask parents with the same path.
QMXValue* QMXDictionary::foundOutward(TStr const& key) const {
    for (Outward d(this); d; ++d) {
        if (QMXValue* value = d->found(key)) {
            return value;
        }
    }
    return nullptr;
}

// Puts what `fresh` holds into the own map and leaves the old content there. An entry that is replaced stays
// in its place or goes to the end of its bucket.
void QMXDictionary::insert(str const* key, QMXValue& fresh, bool moveToEnd) {
    hashmap_entry** slot = slot_of(mMap.handle(), StrKey(key));
    if (*slot == nullptr) {
        append(mMap.handle(), slot, QMXDictionaryEntry::make(key));
    } else if (moveToEnd) {
        hashmap_entry const* entry = *slot;
        move_to_end(slot);
        QMXText::swap(*value_of(entry), fresh);
        return;
    }
    QMXText::swap(*value_of(*slot), fresh);
}

// The same with an entry that is made already, and is used up.
void QMXDictionary::insert(QMXDictionaryEntry* entry, bool moveToEnd) {
    hashmap_entry** slot = slot_of(mMap.handle(), StrKey(entry->plainName()));
    if (*slot == nullptr) {
        append(mMap.handle(), slot, entry);
        return;
    }
    insert(entry->plainName(), entry->content, moveToEnd);
    QMXDictionaryEntry::destroy(entry);
}

// Every set ends here.
void QMXDictionary::store(TStr const& key, QMXValue& fresh) {
    if (is_plain(key)) {
        insert(key.handle(), fresh, true);
        return;
    }
    TStr path(key);
    QMXDictionary* home = resolve(path, nullptr, true);
    if (home != nullptr && home != this) {
        home->store(path, fresh);
    } else {
        // A path that leads nowhere is replaced in place, not removed: removal does not find it.
        insert(path.handle(), fresh, home != nullptr);
    }
}

void QMXDictionary::set(TStr const& key) {
    QMXValue fresh;
    fresh.set();
    store(key, fresh);
}

void QMXDictionary::set(TStr const& key, QMXValue const& value) {
    QMXValue fresh(value);
    store(key, fresh);
}

void QMXDictionary::set(TStr const& key, bool value) {
    QMXValue fresh(value);
    store(key, fresh);
}

void QMXDictionary::set(TStr const& key, int value) { set(key, static_cast<long>(value)); }

void QMXDictionary::set(TStr const& key, long value) {
    QMXValue fresh(value);
    store(key, fresh);
}

void QMXDictionary::set(TStr const& key, double const& value) {
    QMXValue fresh(value);
    store(key, fresh);
}

void QMXDictionary::set(TStr const& key, void* value) {
    QMXValue fresh(value);
    store(key, fresh);
}

void QMXDictionary::set(TStr const& key, char const* value) {
    QMXDictionaryBase& self = *this;
    self.set(key, TStr(value));
}

void QMXDictionary::set(TStr const& key, TStr const& value) {
    if (!is_plain(key)) {
        TStr path(key);
        QMXDictionary* home = resolve(path, nullptr, true);
        if (home != nullptr && home != this) {
            home->set(path, value); // which a class of its own may have overridden
            return;
        }
    }
    QMXValue fresh(value);
    store(key, fresh);
}

void QMXDictionary::set(TStr const& key, TList<TStr> const& value) {
    QMXValue fresh(value);
    store(key, fresh);
}

void QMXDictionary::set(TStr const& key, QMXDictionary* value) {
    QMXValue fresh(value);
    store(key, fresh);
}

void QMXDictionary::set(TStr const& key, QMXDictionary const& value) {
    set(key, private_qmx_keep_dictionary(value));
}

void QMXDictionary::remove(TStr const& key) {
    const StrKey plain(key.handle());
    if (is_plain(plain)) {
        hashmap_entry** slot = slot_of(mMap.handle(), plain);
        if (*slot != nullptr) {
            remove_at(mMap.handle(), slot);
        }
        return;
    }
    TStr path(key);
    QMXDictionary* home = resolve(path, nullptr, false);
    if (home != nullptr && home != this) {
        home->remove(path);
    } else if (home != nullptr) {
        // What is left of the path is a key without points, or none at all.
        hashmap_entry** slot = slot_of(mMap.handle(), path);
        if (*slot != nullptr) {
            remove_at(mMap.handle(), slot);
        }
    }
}

void QMXDictionary::clear() {
    hashmap* map = mMap.handle();
    for (std::int32_t bucket = 0; bucket < map->bucket_count; ++bucket) {
        while (map->buckets[bucket] != nullptr) {
            remove_at(map, &map->buckets[bucket]);
        }
    }
}

int QMXDictionary::typeOf(TStr const& key) const {
    QMXValue const* value = found(key);
    return value != nullptr ? value->type() : QMXValue::TypeEmpty;
}

bool QMXDictionary::exists(TStr const& key) const { return foundOutward(key) != nullptr; }

bool QMXDictionary::contains(TStr const& key) const { return exists(key); }

QMXValue QMXDictionary::getValue(TStr const& key) const {
    for (Outward d(this); d; ++d) {
        if (QMXValue const* value = d->found(key)) {
            return *value;
        }
        // A class of its own may have overridden this.
        QMXDictionary const* parent = d->mpParent;
        if (parent != nullptr && typeid(*parent) != typeid(QMXDictionary) && !Outward::meetsRing(parent)) {
            return parent->getValue(key);
        }
    }
    return QMXValue();
}

bool QMXDictionary::getBool(TStr const& key) const {
    QMXValue const* value = foundOutward(key);
    return value != nullptr && value->asBool();
}

long QMXDictionary::getLong(TStr const& key) const {
    QMXValue const* value = foundOutward(key);
    return value != nullptr ? value->asLong() : 0;
}

double QMXDictionary::getDouble(TStr const& key) const {
    QMXValue const* value = foundOutward(key);
    return value != nullptr ? value->asDouble() : 0.0;
}

TStr QMXDictionary::getString(TStr const& key) const {
    QMXValue const* value = foundOutward(key);
    return value != nullptr ? value->asString() : TStr::null;
}

TStr QMXDictionary::get(TStr const& key) const { return getString(key); }

TList<TStr> QMXDictionary::getStringList(TStr const& key) const {
    QMXValue const* value = foundOutward(key);
    return value != nullptr ? value->asStringList() : TList<TStr>();
}

void* QMXDictionary::getPointer(TStr const& key) const {
    for (Outward d(this); d; ++d) {
        QMXValue const* value = d->found(key);
        if (value != nullptr && value->type() == QMXValue::TypePointer) {
            return value->asVoidPointer();
        }
    }
    return nullptr;
}

QMXDictionary* QMXDictionary::getDictionary(TStr const& key) const {
    for (Outward d(this); d; ++d) {
        QMXValue const* value = d->found(key);
        if (value != nullptr && value->type() == QMXValue::TypeDictionary) {
            QMXDictionary* dictionary = value->asDictionary();
            if (dictionary != nullptr) {
                dictionary->retain();
            }
            return dictionary;
        }
    }
    return nullptr;
}

TList<TStr> QMXDictionary::keys() const { return mMap.keys(); }

TList<TStr> QMXDictionary::values() const {
    const TList<TStr> names = keys();
    TList<TStr> result;
    for (list_entry const* e = list_head(names.handle()); e != nullptr; e = e->next) {
        const TStr value = getString(*static_cast<TStr const*>(e->value));
        list_push(result.handle(), &value);
    }
    return result;
}

QMXDictionary* QMXDictionary::resolve(TStr& key, QMXValue** value, bool useParents) const {
    if (value != nullptr) {
        *value = nullptr;
    }
    const TList<TStr> components = stringSplit(key, ".");
    list_entry const* component = list_head(components.handle());
    if (component == nullptr) {
        return nullptr;
    }
    const auto name = [&]() -> TStr const& { return *static_cast<TStr const*>(component->value); };

    QMXDictionary const* home = this;
    QMXValue* reached = _internalGetValue(name(), useParents);
    if (reached == nullptr) {
        return nullptr;
    }
    while (component->next != nullptr && reached != nullptr && reached->asDictionary() != nullptr) {
        component = component->next;
        home = reached->asDictionary();
        reached = home->_internalGetValue(name(), true);
    }
    if (component->next != nullptr) {
        return nullptr;
    }
    key = name();
    if (value != nullptr) {
        *value = reached;
    }
    return const_cast<QMXDictionary*>(home);
}

QMXValue* QMXDictionary::_internalGetValue(TStr const& key, bool useParents) const {
    for (Outward d(this); d; ++d) {
        QMXValue* value = d->own(key);
        if (value != nullptr || !useParents) {
            return value;
        }
    }
    return nullptr;
}

TStr QMXDictionary::marshalItem(TStr const& key) const {
    QMXValue const* value = exists(key) ? _internalGetValue(key, true) : nullptr;
    if (value == nullptr) {
        return TStr::null;
    }
    QMXTextWriter writer;
    QMXText::writeItem(writer, key, *value, nullptr);
    return writer.text();
}

bool QMXDictionary::unmarshalItem(TStr const& item) {
    return QMXText::readItem(*this, private_str_text_or_empty(item.handle()),
                             private_str_extent(item.handle()), 0);
}

TStr QMXDictionary::marshal() const {
    QMXTextWriter writer;
    QMXText::writeItems(writer, *this, ',', false, nullptr);
    return writer.text();
}

QMXDictionary* QMXDictionary::unmarshal(TStr const& text) {
    auto* dictionary = new QMXDictionary();
    StrTokens items(private_str_text_or_empty(text.handle()), private_str_extent(text.handle()), ",");
    QMXText::readItems(*dictionary, items, 0);
    return dictionary;
}
