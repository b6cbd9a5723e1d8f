// What the text operations share among themselves and with the object layer.
#pragma once

#include "orbuutil/c_strPrivate.h"
#include "orbuutil/c_strops.h"

#include <cstring>

// Bytes of the text in front of its NUL; 0 for null.
inline long private_str_extent(const str* s) {
    if (s == nullptr || s->text == nullptr)
        return 0;
    return static_cast<long>(strnlen(s->text, static_cast<size_t>(s->size)));
}

// A new string of these bytes as they stand.
str* private_str_from_bytes(const char* text, long bytes);

// The byte offset of character `n` in a text of `extent` bytes, or -1 when the text ends before it. A
// character that the end cuts short ends there. A negative `n` counts as 0.
long private_text_offset(const char* text, long extent, long n);

// Writes the digits of a number and gives their count. A long in base 2 takes 65 bytes.
inline constexpr long PRIVATE_DIGITS_ROOM = 72;
long private_str_digits(char* room, long value, int base);

// Writes a real number as str_from_double does and gives the bytes, what does not fit being cut off.
inline constexpr long PRIVATE_REAL_ROOM = 512;
long private_str_real(char* room, char format, int precision, double value);

// The one body of the str_arg_ family, for an argument of `bytes` bytes, which may be part of `s`.
str* private_str_fill(str* s, const char* arg, long bytes, int width, char fill);

// The tokens of a text, one after the other, without changing it: what stringPopFront gives when it is called
// until nothing is left. The text must outlive the walk.
struct StrTokens {
    const char* at;        // what is left; null when that is null
    const char* end;       // of the text, at its NUL
    const char* separator; // null for one that is never found
    bool found = false;    // whether there was a separator behind the last token

    StrTokens(const char* text, long extent, const char* sep)
        : at(text), end(text + extent), separator(sep) {}

    // Gives the next token and its bytes; a null token is a null pointer. False when nothing is left.
    bool next(const char** token, long* bytes);
};
