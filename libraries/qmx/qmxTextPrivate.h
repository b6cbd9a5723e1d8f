// The text form of values, dictionaries and packets: written into one buffer, and read in place by offsets.
// Results are those of the steps that the public headers tell; only the copies are left out.
#pragma once

#include "orbuutil/c_hashmapPrivate.h"
#include "orbuutil/c_strPrivate.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxDictionary.h"
#include "qmx/qmxValue.h"

struct StrTokens;

// --- escaped text by bytes (qmxMarshal.cpp) ---

// Bytes of the escaped form.
long private_marshalled_bytes(char const* text, long bytes);
// Writes the escaped form and gives its end. The room must take three bytes more, which may be overwritten.
char* private_marshal_to(char* to, char const* text, long bytes);
// What unmarshalString gives for these bytes.
str* private_unmarshal_bytes(char const* from, long bytes);

// What marshalStringList gives.
str* private_marshal_list(TList<TStr> const& list);

// --- what is never given back: made in functions of their own, which the leak check knows by name ---

str* private_qmx_keep_list(TList<TStr> const& list);
str* private_qmx_keep_list_text(char const* escaped, long bytes);
str* private_qmx_keep_list_copy(str const* text);
QMXDictionary* private_qmx_keep_dictionary(QMXDictionary const& dictionary);
QMXDictionary* private_qmx_keep_new_dictionary();

// One entry of a dictionary: the map's entry, its key and its value, all in one block. Not made by `new`.
class QMXDictionaryEntry : public hashmap_entry {
public:
    // A null value under a copy of the key: of so many bytes, or, for null, of the null text.
    static QMXDictionaryEntry* make(char const* key, long bytes);
    static QMXDictionaryEntry* make(str const* key);
    static void destroy(QMXDictionaryEntry* entry);

    TStr const& name() const { return mName; }
    str const* plainName() const { return mName.handle(); }
    bool isPath() const { return mIsPath; } // several components, or none: not found by its literal text

    QMXValue content;

private:
    QMXDictionaryEntry(char const* name, long bytes);
    ~QMXDictionaryEntry();

    union {
        TStr mName; // its string is not its own: mRecord
    };
    str mRecord; // its text is behind the entry
    bool mIsPath;
};

// Text under construction. Short ones stay on the stack.
class QMXTextWriter {
public:
    QMXTextWriter();
    QMXTextWriter(QMXTextWriter const&) = delete;
    QMXTextWriter& operator=(QMXTextWriter const&) = delete;
    ~QMXTextWriter();

    void append(char byte) {
        *reserve(1) = byte;
        mLength += 1;
    }
    void append(char const* bytes, long count);
    void append(TStr const& text);
    void appendNumber(long value); // decimal
    void appendReal(double value); // %g, escaped
    void appendEscaped(char const* bytes, long count);

    char const* bytes() const { return mpBytes; }
    long length() const { return mLength; }
    TStr text() const; // a copy; never null

private:
    // Room for `count` bytes behind what is there.
    char* reserve(long count) { return mRoom - mLength < count ? grow(count) : mpBytes + mLength; }
    char* grow(long count);

    char mLocal[1000];
    char* mpBytes;
    long mLength;
    long mRoom;
};

// Verbs on the insides of values and dictionaries. `depth` counts how many dictionaries stand around.
class QMXText {
public:
    static constexpr int deepest = 256;

    // The dictionaries that are being written, from the innermost outward.
    struct Nest {
        QMXDictionary const* dictionary;
        Nest const* outer;
        int depth;
    };

    static void writeValue(QMXTextWriter& writer, QMXValue const& value, Nest const* outer);
    static void writeItem(QMXTextWriter& writer, TStr const& key, QMXValue const& value, Nest const* outer);
    // All items: `separator` in front of each but the first, or in front of that too.
    static void writeItems(QMXTextWriter& writer, QMXDictionary const& dictionary, char separator,
                           bool separateFirst, Nest const* outer);

    // Read `count` bytes, none of them a NUL. `value` is null before. readItem is false for what is no item.
    static void readValue(QMXValue& value, char const* bytes, long count, int depth);
    static bool readItem(QMXDictionary& dictionary, char const* bytes, long count, int depth);
    // Each token that is left, an item; what is none is skipped.
    static void readItems(QMXDictionary& dictionary, StrTokens& items, int depth);

    // Parses as TStr::toLong does: 0 for what is no number.
    static long readLong(char const* bytes, long count);

    // Exchange what two values hold.
    static void swap(QMXValue& a, QMXValue& b);

    static TStr slice(char const* bytes, long count);
};
