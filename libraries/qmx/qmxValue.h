// A typed value: the unit of which dictionaries are made and that travels as text.
//
// | type | holds                                    | text (marshal)                    |
// |------|------------------------------------------|-----------------------------------|
// | 0    | null: nothing, also not "empty"          | a   (comes back null, reported)   |
// | 1    | empty: present, holds nothing            | b   (comes back null, reported)   |
// | 2    | boolean                                  | c   true or false                 |
// | 3    | long                                     | d   decimal                       |
// | 4    | double                                   | e   six significant digits        |
// | 6    | untyped pointer, not owned               | g   (comes back null, reported)   |
// | 7    | string                                   | h   the text                      |
// | 8    | dictionary, one reference held; may be a | i   its text                      |
// |      | null pointer                             |                                   |
// | 9    | string list, kept in its text form       | j   its text                      |
//
// What follows the letter is escaped by marshalString.
//
// - Ownership: a value owns its double and its string and holds one reference of its dictionary. The text of
//   a string list is never given back, neither by clear nor by assignment nor by the destructor: hosts rely
//   on the text outliving the value.
// - Conversions never fail: what a type cannot give is false, 0, 0.0, a null pointer, TStr::null or an empty
//   list.
// - Threads: one value belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tstr.h"

class QMXDictionary;

class ORBU_EXPORT QMXValue {
public:
    enum Type : int {
        TypeNull = 0,
        TypeEmpty = 1,
        TypeBool = 2,
        TypeLong = 3,
        TypeDouble = 4,
        TypePointer = 6,
        TypeString = 7,
        TypeDictionary = 8,
        TypeStringList = 9,
    };

    QMXValue(); // null
    QMXValue(bool value);
    QMXValue(void* value);
    // Keeps the text but gives the value no type: it reads as null. Hosts depend on it; a string value is
    // made with a TStr.
    QMXValue(char const* value);
    QMXValue(TStr const& value);
    QMXValue(TList<TStr> const& value);
    QMXValue(int value); // a long
    QMXValue(long value);
    QMXValue(double const& value);
    QMXValue(QMXDictionary* value); // retains it; may be null
    QMXValue(QMXValue const& other);
    virtual ~QMXValue();

    // A copy by the type of `other`: fresh double and text, the same dictionary retained. May be itself.
    QMXValue& operator=(QMXValue const& other);

    // Same type and same content; but a double, a string or a list equals only the very same value. Hosts
    // depend on it.
    bool operator==(QMXValue const& other) const;

    int type() const;     // a Type
    bool isNull() const;  // type 0
    bool isEmpty() const; // type 1

    // Replace the value. What is given may belong to this value.
    void set(); // empty
    void set(bool value);
    void set(int value); // a long
    void set(long value);
    void set(double const& value);
    void set(void* value);
    void set(char const* value); // a string
    void set(TStr const& value);
    void set(QMXDictionary* value); // retains it; may be null
    void set(TList<TStr> const& value);
    void clear(); // null

    // Conversions. From a string, numbers are parsed as TStr::toLong and toDouble do it. A boolean is told
    // as "true" or "false", a dictionary as its text and, in a list, as the one item "Value Table". A string
    // or list is true when its text is not null, empty or not.
    bool asBool() const;
    long asLong() const;
    double asDouble() const; // of a double to a long: truncated, 0 when out of range
    void* asVoidPointer() const;
    TStr asString() const;
    TList<TStr> asStringList() const;
    QMXDictionary* asDictionary() const; // not retained

    operator bool() const { return asBool(); }
    operator long() const { return asLong(); }
    operator double() const { return asDouble(); }
    operator void*() const { return asVoidPointer(); }
    operator TStr() const { return asString(); }
    operator TList<TStr>() const { return asStringList(); }
    operator QMXDictionary*() const { return asDictionary(); }

    // The text form, a letter and the escaped text.
    TStr marshal() const;

    // The value of a text form; a null value for a text without a known letter, which is reported ("could not
    // unmarshal data value %1"). The dictionary of an "i" keeps the reference it was made with beside that
    // of the value, so it outlives it: hosts depend on it. Dictionaries nested deeper than 256 come back
    // as null values.
    static QMXValue unmarshal(TStr const& text);

private:
    friend class QMXText;

    void install(int type, long slot);

    int mType;
    long mSlot; // by type: the bits of the number, or the pointer to what is owned, held or known
};
