// Encoded strings, plain layer: the `str` object, its conversions and the operations on its text.
//
// - Text: UTF-8 inside, whatever encoding it came in, not validated. A null string (no text) and an empty one
//   (text that is just a terminator) are two states, and comparisons keep them apart.
// - Capacity: `size`, the bytes allocated for the text with its terminator, is kept; a length is not, it is
//   found by walking. Growth is exact and buffers never shrink. What stands behind a terminator stays there:
//   setting a shorter UTF-8 text on a longer string leaves the tail of the old one.
// - Units: every function says whether it counts bytes or characters. How long a character is is told by its
//   lead byte alone (1 to 6 bytes); a stray continuation byte is a character of one byte.
// - Ownership: a returned `str` belongs to the caller, who gives it to str_uninit; a buffer from an _alloc
//   function is released with memory_free. Operands may be one and the same object.
// - Null: a null `str` pointer is taken as a string with null text; what would change it does nothing.
// - Failures: malformed input gives "?" or a null string. The error record tells the last error of the
//   process; a success does not clear it. Nothing throws.
// - Threads: nothing is locked, one object belongs to one thread at a time; the error record is shared.
#pragma once

#include "orbuutil/orbuExport.h"

struct str;

// Encodings, passed around as long integers.
enum : long {
    STR_ASCII = 0,   // bytes; one of 0x80 or above becomes "?" in any target
    STR_UTF8 = 1,    // up to 6 bytes a character
    STR_UTF16 = 2,   // a stream: mark and machine order on output; a mark FF FE is taken off on input
    STR_UTF16BE = 3, // no mark. The 16-bit forms write surrogate pairs and refuse to read them
    STR_UTF16LE = 4,
    STR_UTF32 = 5, // `unsigned long` words, laid down at a step of four bytes
};

// --- making and releasing ---

// A new null string.
ORBU_EXPORT str* str_init();

// A new string converted from `bytes` bytes of `data`. A source that cannot be converted gives a null string:
// for UTF-8 nothing fails, for the 16-bit forms a surrogate or an odd byte at the end, for UTF-32 all sources
// without a zero word. An encoding that does not exist gives a null string.
ORBU_EXPORT str* str_from(const void* data, long bytes, long encoding);

// A new string from a terminated source, as UTF-8 or as ASCII. A null pointer gives a null string.
ORBU_EXPORT str* str_from_utf8(const char* utf8);
ORBU_EXPORT str* str_from_cstr(const char* cstr);

// Releases text and object; accepts null.
ORBU_EXPORT void str_uninit(str* s);

// A new string with the whole buffer of `s`, one byte larger than that of `s`. A null text duplicates into an
// empty one; a null pointer gives a null pointer.
ORBU_EXPORT str* str_dup(const str* s);

// --- replacing the text ---

// Replace the text by a converted source; always 1. When the need fits into the buffer, it stays in use, and
// a UTF-8 source is copied into it without a terminator: "xy" set on "abcdef" leaves "xycdef". A source that
// cannot be converted leaves a null string; an encoding that does not exist leaves the string as it was.
// `bytes` of -1 means strlen in str_ascii_set. The source may be the string's own text.
ORBU_EXPORT int str_set(str* s, const void* data, long bytes, long encoding);
ORBU_EXPORT int str_utf8_set(str* s, const char* utf8);
ORBU_EXPORT int str_ascii_set(str* s, const char* ascii, int bytes);

// Frees the text and leaves a null string; always 1.
ORBU_EXPORT int str_clear(str* s);

// Copies the buffer of `from` into `to` (source first!) and gives the strlen of the result. A null `from`
// clears `to`: 0. A null `to`: 0.
ORBU_EXPORT long str_cpy(const str* from, str* to);

// Makes `size` at least `bytes`, by growing to one more than that, and gives the text for direct writing.
// Null when memory is exhausted.
ORBU_EXPORT char* str_buffer(str* s, long bytes);

// --- converting ---

// True for 0 to 5.
ORBU_EXPORT bool str_is_encoding_implemented(unsigned long encoding);

// Bytes that a conversion needs with its terminator; 0 when the source cannot be converted. From an encoding
// to itself that is `srcbytes` + 1, and nothing is read. Towards STR_ASCII and STR_UTF32 it is an estimate
// from the length of the source, which must be terminated unless it is STR_ASCII or STR_UTF32 itself; for
// STR_UTF32 it is too low.
ORBU_EXPORT long str_encoding_requires_bytes(const void* src, long srcbytes, long srcenc, long dstenc);

// The converter: 1 on success, 0 on failure. Stops at the first code point 0. It writes a terminator of the
// target behind the text, and does so also when `dstbytes` is used up or 0: `dst` must have room for one
// terminator more than `dstbytes`. From an encoding to itself it copies the smaller of the two counts and
// writes no terminator. A destination that is full with source left records "to buffer overflow".
ORBU_EXPORT int str_encode(const void* src, long srcbytes, long srcenc, void* dst, long dstbytes,
                           long dstenc);

// Converts the whole buffer of `s`, terminator included, into `dst` with `room` bytes. Gives the bytes needed
// as str_encoding_requires_bytes tells them, or 0 when they exceed `room` or the encoding does not exist.
// Never writes beyond `room`.
ORBU_EXPORT long str_get(const str* s, void* dst, long room, long encoding);

// ASCII copies: one byte a character, "?" for a code point of 0x80 or above. When byte length plus 2 exceeds
// the room, `dst` is left untouched. A null text gives a terminator. str_cstrn returns `dst`; str_cstr the
// byte length plus 1, or 0 for a null text or a short room, whose variable then holds byte length plus 2.
ORBU_EXPORT char* str_cstrn(const str* s, char* dst, long room);
ORBU_EXPORT long str_cstr(const str* s, char* dst, long* room);

// Copies the buffer (`size` bytes) as it is, if `size` plus 2 does not exceed `room`. Returns `dst`.
ORBU_EXPORT char* str_utf8_cstrn(const str* s, char* dst, long room);

// New buffers with the converted text, for memory_free; null for a null `s`. The first three 16-bit forms
// give null when the last character is cut short, and stop before a code point in the surrogate range.
// str_utf16_alloc begins with a mark in machine order. str_alloc goes the way of str_get and gives null where
// the text cannot be converted.
ORBU_EXPORT char* str_cstr_alloc(const str* s);
ORBU_EXPORT char* str_utf8_alloc(const str* s);
ORBU_EXPORT unsigned short* str_utf16_alloc(const str* s);
ORBU_EXPORT unsigned short* str_utf16le_alloc(const str* s);
ORBU_EXPORT unsigned short* str_utf16be_alloc(const str* s);
ORBU_EXPORT void* str_alloc(const str* s, long encoding);

// --- measuring ---

// Length in bytes, by the walk over lead bytes; 0 for null. It equals strlen only for well-formed text.
ORBU_EXPORT long str_len(const str* s);

// Number of characters; 0 for null.
ORBU_EXPORT long str_utf8_char_count(const str* s);

// 1 for a null or empty text, else 0.
ORBU_EXPORT int str_empty(const str* s);

// Measure raw terminated sources; 0 for null. str_utf8_len and the 16-bit forms count bytes: a 16-bit unit
// with all bits of 0xD800 set counts four although it is one unit, so that they give a generous estimate.
// str_utf16_len skips a leading mark of either order and does not count it. str_utf32_len counts `unsigned
// long` units.
ORBU_EXPORT long str_utf8_len(const char* utf8);
ORBU_EXPORT long str_utf16_len(const void* utf16);
ORBU_EXPORT long str_utf16be_len(const void* utf16be);
ORBU_EXPORT long str_utf16le_len(const void* utf16le);
ORBU_EXPORT long str_utf32_len(const void* utf32);

// --- comparing ---

// Below 0, 0 or above 0, bytes compared as unsigned (the order of code points). Null is equal to null and
// below everything else.
ORBU_EXPORT int str_cmp(const str* a, const str* b);
ORBU_EXPORT int str_utf8_cmp(const str* s, const char* utf8);
ORBU_EXPORT int str_ascii_cmp(const str* s, const char* ascii);

// --- appending and cutting ---

// Append `other`, or the first `limit` characters of a terminated text; give the resulting length in bytes.
ORBU_EXPORT long str_cat(str* s, const str* other);
ORBU_EXPORT long str_cat_utf8_limit(str* s, const char* utf8, int limit);

// Cuts behind `n` characters; keeps `size`. A text that ends before is left as it is.
ORBU_EXPORT void str_truncate(str* s, int n);

// A new string of `bytes` BYTES from CHARACTER `start` on; a negative `bytes` takes the rest. `bytes` is not
// clipped to the text. Null for a null text, or when the text ends before `start` characters.
ORBU_EXPORT str* str_mid(const str* s, long start, int bytes);

// The lead byte of character `index`, widened as a signed char; 0 when `index` is negative or not below the
// byte length, or past the last character.
ORBU_EXPORT int str_at(const str* s, int index);

// Append, or prepend, `other` with one separator between; a null or empty `other` does nothing, a null text
// just takes `other`. `sep` may be null. Whether a separator is there already is looked up at its FIRST
// occurrence: with "/", pushing c on a/ gives a/c, but pushing it on a/b/ gives a/b//c. str_unshift looks at
// the first occurrence in `other`.
ORBU_EXPORT void str_push(str* s, const str* other, const str* sep);
ORBU_EXPORT void str_unshift(str* s, const str* other, const str* sep);

// --- splitting, in place and in bytes ---

// Split at any byte of the terminated `set`, from the front or from the back, and give the part cut off. The
// run of delimiters goes. `delimiter` (may be null) receives the first one of the run (str_shift) or the last
// one (str_pop), widened as a signed char, or 0 when there was none. A null text gives null and leaves
// `delimiter` alone.
// Without a delimiter str_shift hands out the whole text and leaves `s` null (an empty text gives null);
// str_pop gives a copy and leaves the text in `s`, and null for a text of exactly one byte.
ORBU_EXPORT str* str_shift(str* s, const char* set, int* delimiter);
ORBU_EXPORT str* str_pop(str* s, const char* set, int* delimiter);

// Split by the whole of `sep`. Without one the whole text is given and `s` becomes null; a null text gives
// null. str_pop_str does not look at position 0: a separator at the very start does not count there.
ORBU_EXPORT str* str_shift_str(str* s, const str* sep);
ORBU_EXPORT str* str_pop_str(str* s, const str* sep);

// --- substituting ---

// Replaces every occurrence of `from` in place. The position to go on from is used as a count of characters
// and as an offset in bytes: text with multi-byte characters before a match misaligns, and hosts know it. An
// empty `from` changes nothing.
ORBU_EXPORT void str_replace(str* s, const str* from, const str* to);

// A new string: `s` cut at each run of bytes of `set`, and the pieces joined with `join`. Empty pieces do not
// count. A null text gives a null string. `s` is left alone.
ORBU_EXPORT str* str_replace_all(const str* s, const char* set, const str* join);

// --- the error record ---

// Code (0x80000001 a surrogate, 0x80000002 an end of source or room, 0x80000003 memory), words, source file
// and line of the last error of the process; all zero before the first.
ORBU_EXPORT long str_error_code();
ORBU_EXPORT const char* str_error_text();
ORBU_EXPORT const char* str_error_file();
ORBU_EXPORT long str_error_line();
