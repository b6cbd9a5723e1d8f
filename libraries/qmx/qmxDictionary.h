// Tables of typed values: QMXDictionary, and the interface QMXDictionaryBase that it fills.
//
// - Keys. A key is a path: its components, separated by ".", lead through nested dictionaries (see resolve).
//   A path whose first component is absent is stored under its literal text. keys() lists such an entry, but
//   every look-up splits the key and misses it, and in marshal() it is an empty item: hosts depend on it.
// - Parents. A dictionary may have a parent, which reads consult for what is not found here. keys(),
//   values(), marshal(), typeOf() and removal see the own entries alone.
// - Order. Entries stand in the order of a TMap: bucket by hash, then oldest first. Setting a key anew moves
//   it to the end of its bucket. The order is that of the text form.
// - Ownership: dictionaries are reference counted (qmxBase.h) and hold one reference of their parent and of
//   each dictionary stored. getDictionary() and nothing else here retains what it gives.
// - Not found is told as the zero of the result: false, 0, 0.0, null pointer, TStr::null, empty list, null
//   value.
// - Threads: a dictionary belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tmap.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxBase.h"
#include "qmx/qmxValue.h"

extern template class TMap<TStr, QMXValue>;

class QMXDictionaryEntry;

class ORBU_EXPORT QMXDictionaryBase : public QMXBase {
public:
    QMXDictionaryBase();
    QMXDictionaryBase(QMXDictionaryBase const& other);
    // Does nothing.
    QMXDictionaryBase& operator=(QMXDictionaryBase const& other);
    ~QMXDictionaryBase() override;

    virtual void clear() = 0;
    virtual void set(TStr const& key, TStr const& value) = 0;
    virtual TStr get(TStr const& key) const = 0;
    virtual bool contains(TStr const& key) const = 0;
    virtual TList<TStr> keys() const = 0;
    virtual TList<TStr> values() const = 0;
    virtual TStr operator[](TStr const& key) const; // get(key)
    virtual QMXValue getValue(TStr const& key) const = 0;
};

class ORBU_EXPORT QMXDictionary : public QMXDictionaryBase {
public:
    explicit QMXDictionary(QMXDictionary* parent = nullptr); // retains the parent
    // The same parent, and a copy of each entry; stored dictionaries are shared.
    QMXDictionary(QMXDictionary const& other);
    ~QMXDictionary() override;

    // clear(), update(other), and the parent of `other`, which may close a ring of parents: its look-ups end,
    // but it is never deleted. A dictionary assigned to itself keeps its entries.
    QMXDictionary& operator=(QMXDictionary const& other);

    // Sets each own entry of `other` here, in its order; parents do not count.
    void update(QMXDictionary const& other);

    // Store a value under `key`: an empty one, or a copy of what is given. An entry that is there is removed
    // first; a path that leads into a nested dictionary, also one of a parent, is set there.
    void set(TStr const& key);
    void set(TStr const& key, QMXValue const& value);
    void set(TStr const& key, bool value);
    void set(TStr const& key, int value); // a long
    void set(TStr const& key, long value);
    void set(TStr const& key, double const& value);
    void set(TStr const& key, void* value);
    void set(TStr const& key, char const* value); // through the virtual set of a TStr
    void set(TStr const& key, TStr const& value) override;
    void set(TStr const& key, TList<TStr> const& value);
    void set(TStr const& key, QMXDictionary* value); // shares and retains it; may be null
    // Stores a copy on the heap that keeps the reference it was made with, so that it outlives the entry:
    // hosts depend on it.
    void set(TStr const& key, QMXDictionary const& value);

    void remove(TStr const& key);
    void clear() override; // the parent stays

    // The type code of the entry, or 1 (empty) when there is none.
    int typeOf(TStr const& key) const;

    bool exists(TStr const& key) const;
    bool contains(TStr const& key) const override; // exists
    QMXValue getValue(TStr const& key) const override;
    bool getBool(TStr const& key) const;
    long getLong(TStr const& key) const;
    double getDouble(TStr const& key) const;
    TStr getString(TStr const& key) const;
    TStr get(TStr const& key) const override; // getString
    TList<TStr> getStringList(TStr const& key) const;
    // These two also ask the parent when the entry here has another type. What getDictionary gives is
    // retained: the caller releases it.
    void* getPointer(TStr const& key) const;
    QMXDictionary* getDictionary(TStr const& key) const;

    TList<TStr> keys() const override;   // the own keys
    TList<TStr> values() const override; // getString of each of keys()

    // Follows the path `key`. On success gives the dictionary in which its last component belongs, shortens
    // `key` to that component, and stores the value there, or null if only that is missing, in `*value`.
    // Otherwise gives null, `key` as it was and null in `*value`. With `useParents` the first component is
    // also looked for in parents; then this dictionary is given all the same. `value` may be null.
    QMXDictionary* resolve(TStr& key, QMXValue** value, bool useParents) const;

    // The value stored under the literal key, here or (with `useParents`) in the nearest parent that has it;
    // null if none. Good until the key is next set or removed.
    QMXValue* _internalGetValue(TStr const& key, bool useParents) const;

    // "key=value text", the key as it stands; the null TStr when there is no such entry. A key with "," or
    // "=" does not survive the text form.
    TStr marshalItem(TStr const& key) const;
    // Stores an item's value under its key. False, and nothing stored, when it is not two parts around "=".
    bool unmarshalItem(TStr const& item);

    // The items with "," between them; "" when there are none. A dictionary that holds itself, at whatever
    // depth, and those nested deeper than 256 are told as empty.
    TStr marshal() const;
    // A new dictionary, which the caller owns, from a text. What is no item is skipped.
    static QMXDictionary* unmarshal(TStr const& text);

private:
    friend class QMXPipePacket;
    friend class QMXText;

    class Outward;

    QMXValue* own(TStr const& key) const;
    QMXValue* found(TStr const& key) const;
    QMXValue* foundOutward(TStr const& key) const;
    void store(TStr const& key, QMXValue& fresh);
    void insert(str const* key, QMXValue& fresh, bool moveToEnd);
    void insert(QMXDictionaryEntry* entry, bool moveToEnd);

    // Exchanges entries and parents.
    void swap(QMXDictionary& other);
    // Whether an entry stands under a literal path: a copy may put that elsewhere.
    bool hasPaths() const;

    TMap<TStr, QMXValue> mMap;
    QMXDictionary* mpParent;
};
