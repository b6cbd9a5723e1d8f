// TStr: a UTF-8 text by value. It owns one `str` object and caches one converted form of its text.
//
// - Members forward to the plain function of the same name (c_str.h, c_strops.h); what is said there about
//   units and odd corners holds here. length() and all `bytes` count bytes; positions count characters.
// - Null: TStr() has a null text, which is not the same as an empty one, and null compares below everything
//   else. A copy of a null text is empty. A null handle (TStr::null, an adopted null result) stays null in
//   copies; everything else takes it as null text, and a member that puts text in gives it an object first.
// - The cached view: toUtf8, toUtf16, latin1 and their kin give a pointer into the TStr. It dies with the
//   next call for another encoding, with any change and with the object. buffer() is the one mutating member
//   that does not drop the view: whoever writes through it calls clearCachedEncoding().
// - Ownership: raw buffers from the _alloc members are released with memory_free.
// - Threads: an object, even a const one (its view may be rebuilt), belongs to one thread at a time.
#pragma once

#include "orbuutil/c_str.h"
#include "orbuutil/orbuExport.h"

class ORBU_EXPORT TStr {
public:
    // The process-wide TStr without a handle, for passing and for testing with isNull().
    static const TStr null;

    TStr();
    TStr(char ascii);          // one byte as STR_ASCII: "?" for 0x80 and above
    TStr(unsigned long utf32); // four bytes as STR_UTF32, which are too few: a null text. Kept for hosts
    TStr(char* utf8);
    TStr(const char* utf8); // a null pointer gives a null text
    TStr(const void* data, long bytes, long encoding);
    TStr(const TStr& other);
    // Adopts a `str*` without copying: the TStr owns it from now on.
    explicit TStr(void* const& adopted);
    // STR_UTF16, a mark FF FE is taken off; STR_UTF32. Measured by str_utf16_len and str_utf32_len, or given
    // as a count of units.
    TStr(const unsigned short* utf16);
    TStr(const unsigned short* utf16, long units);
    TStr(const unsigned long* utf32);
    TStr(const unsigned long* utf32, long units);
    virtual ~TStr();

    TStr& operator=(const TStr& other);

    // From 16-bit units up to a zero unit, little-endian, no mark looked for.
    static TStr fromUcs2(const unsigned short* ucs2);

    // --- state ---
    void clear(); // to null text; the handle stays
    void clearCachedEncoding();
    str* handle() const { return mHandle; } // still owned by the TStr
    long length() const;                    // bytes
    long utf8CharCount() const;
    bool isNull() const;
    bool isEmpty() const; // null or empty
    operator bool() const { return !isEmpty(); }
    unsigned long hash() const; // see str_hash

    // --- comparing: bytes as unsigned, null below everything ---
    bool operator==(const TStr& other) const;
    bool operator!=(const TStr& other) const;
    bool operator<(const TStr& other) const;
    bool operator<=(const TStr& other) const;
    bool operator>(const TStr& other) const;
    bool operator>=(const TStr& other) const;
    bool operator==(const char* utf8) const;
    bool operator!=(const char* utf8) const;
    bool operator<(const char* utf8) const;
    bool operator<=(const char* utf8) const;
    bool operator>(const char* utf8) const;
    bool operator>=(const char* utf8) const;

    // --- appending. A `char` is STR_ASCII in operator+ and a UTF-8 text of one byte in operator+= ---
    TStr operator+(const TStr& other) const;
    TStr operator+(const char* utf8) const;
    TStr operator+(char ascii) const;
    TStr operator+(unsigned long utf32) const;
    TStr& operator+=(const TStr& other);
    TStr& operator+=(const char* utf8);
    TStr& operator+=(char byte);
    TStr& operator+=(unsigned long utf32);
    TStr& cat(const TStr& other);

    // The lead byte of a character, widened as a signed char; 0 past the end.
    int operator[](int index) const;
    int at(int index) const;

    // --- the cached view. Null for a null handle; a failed conversion ends where it failed ---
    const void* asEncoding(long encoding) const;
    operator const char*() const; // like latin1()
    const char* latin1() const;   // STR_ASCII: everything beyond ASCII reads as "?"
    const char* toUtf8() const;
    const unsigned short* toUtf16() const;
    const unsigned short* toUtf16BE() const;
    const unsigned short* toUtf16LE() const;

    // --- copying out: `room` in bytes; true when something was needed and it fitted (see str_get) ---
    bool get(void* to, long room, long encoding) const;
    bool ascii(void* to, long room) const;
    bool utf8(void* to, long room) const;
    bool utf16(void* to, long room) const;
    bool utf16be(void* to, long room) const;
    bool utf16le(void* to, long room) const;
    bool utf32(void* to, long room) const;
    long cstr(char* to, long* room) const;
    char* cstrn(char* to, long room) const;
    char* utf8_cstrn(char* to, long room) const;
    char* cstr_alloc() const;
    char* utf8_alloc() const;
    unsigned short* utf16_alloc() const;
    unsigned short* utf16le_alloc() const;
    unsigned short* utf16be_alloc() const;

    // --- replacing the text. Counts are bytes here, unlike in the constructors; all report true ---
    char* buffer(long bytes); // for direct writing; keeps the view
    bool setUtf8(const char* utf8);
    bool setUtf16(const unsigned short* utf16, long bytes);
    bool setUtf16BE(const unsigned short* utf16, long bytes);
    bool setUtf16LE(const unsigned short* utf16, long bytes);
    bool setUtf32(const unsigned long* utf32, long bytes);
    TStr& setAscii(const char* ascii, int bytes = -1); // -1: strlen

    // --- splitting and joining. A null result is a TStr without a handle ---
    TStr pop(const TStr& set);
    TStr popString(const TStr& separator);
    TStr shift(const TStr& set);
    TStr shiftString(const TStr& separator);
    void push(const TStr& other, const TStr& separator);
    void unshift(const TStr& other, const TStr& separator);
    void replace(const TStr& from, const TStr& to);
    // Leaves the text as it is, and what str_replace_all makes is lost: hosts depend on it.
    void replaceAll(const TStr& set, const TStr& join);

    // --- substrings and search ---
    TStr left(int characters) const;
    TStr right(int characters) const;
    TStr mid(int start, int bytes = -1) const;
    void truncate(int characters);
    int find(const char* utf8, long start = 0, bool caseSensitive = true) const; // byte offset, or -1
    int find(const TStr& other, long start = 0, bool caseSensitive = true) const;
    int find(char byte, long start = 0, bool caseSensitive = true) const;
    int findSpan(const TStr& open, const TStr& close, int* length = nullptr, int start = 0) const;

    // --- numbers, always as the "C" locale writes them ---
    static TStr number(int value, int base = 10);
    static TStr number(long value, int base = 10);
    static TStr number(double value, char format = 'g', int precision = 6);
    int toInt(bool* ok = nullptr, int base = 10) const;
    long toLong(bool* ok = nullptr, int base = 10) const;
    float toFloat(bool* ok = nullptr) const;
    double toDouble(bool* ok = nullptr) const;

    // --- placeholders: fills the lowest of %1 to %9. Not const: a format without one is cleared ---
    TStr arg(const TStr& text, int width = 0, char fill = ' ');
    TStr arg(char ascii, int width = 0, char fill = ' ');
    TStr arg(int value, int width = 0, int base = 10, char fill = ' ');
    TStr arg(long value, int width = 0, int base = 10, char fill = ' ');
    TStr arg(double value, int width = 0, char format = 'g', int precision = 6, char fill = ' ');
    TStr arg(float value, int width = 0, char format = 'g', int precision = 6, char fill = ' ');

    // --- changed copies ---
    TStr upper() const;
    TStr lower() const;
    TStr stripWhiteSpace() const;
    TStr simplifyWhiteSpace() const;
    TStr collapse(const TStr& set) const;
    TStr expand() const;

private:
    str* plain(); // the handle, made first if there is none

    str* mHandle;
    mutable void* mCached; // the encoding's code in one word, directly followed by the converted bytes
};

// Without these a literal on the left would be compared or added as a pointer.
ORBU_EXPORT TStr operator+(const char* utf8, const TStr& s);
inline bool operator==(const char* utf8, const TStr& s) { return s == utf8; }
inline bool operator!=(const char* utf8, const TStr& s) { return s != utf8; }
inline bool operator<(const char* utf8, const TStr& s) { return s > utf8; }
inline bool operator<=(const char* utf8, const TStr& s) { return s >= utf8; }
inline bool operator>(const char* utf8, const TStr& s) { return s < utf8; }
inline bool operator>=(const char* utf8, const TStr& s) { return s <= utf8; }
