// Operations on the text of a `str` that take no notice of encodings: hash, numbers, placeholders,
// substrings, search, case, white space and the escape pair.
//
// - Ownership: a returned `str` belongs to the caller, who gives it to str_uninit. Operands are only read,
//   except where "in place" is said; they may be one and the same object.
// - Null: a null `str` pointer is taken as a string with null text. Raw texts are UTF-8 and end in a NUL.
// - Units: a position or count of characters goes by lead bytes (continuation bytes are never inspected);
//   what counts bytes says so.
// - Numbers are written and read as the "C" locale does it, whatever locale the host has set.
// - Failures: parsers report through `ok` (1 done, 0 not; may be null) and give 0; nothing here sets the
//   error record.
// - Threads: nothing is locked, one object belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"

struct str;

// 1 when `s` or its text is null, else 0. An empty text is not null.
ORBU_EXPORT int str_null(const str* s);

// The first bytes of the text as a number, without any mixing: null and empty give 0; a text of more than 8
// bytes gives its first 8 as a little-endian word; a shorter one is shifted in byte by byte, each widened as
// a signed char. Hosts depend on the value: it fixes the order of a table's entries. Takes constant time.
ORBU_EXPORT unsigned long str_hash(const str* s);

// The digits of `value`, lower case, with a leading "-" for a negative one. A base outside 2 to 36 counts
// as 10.
ORBU_EXPORT str* str_from_huge(long value, int base);
ORBU_EXPORT str* str_from_long(long value, int base);
ORBU_EXPORT str* str_from_int(int value, int base);

// `value` as printf(3) writes it. `format` is one of E, F, G, e, f and g (anything else counts as f). A
// negative `precision` leaves the precision to printf; one above 99 counts as 99.
ORBU_EXPORT str* str_from_double(char format, int precision, double value);
ORBU_EXPORT str* str_from_float(char format, int precision, float value);

// The first, or the last, `n` characters. A negative `n`, or one beyond the character count, gives the whole
// text. str_left of a null pointer and str_right of a null text give a null pointer.
ORBU_EXPORT str* str_left(const str* s, int n);
ORBU_EXPORT str* str_right(const str* s, int n);

// The text repeated until it has at least `n` bytes; what overshoots is not cut. The text should not be
// empty: then, and for a negative `n`, the result is a copy.
ORBU_EXPORT str* str_pad(const str* s, int n);

// Fills the placeholder with the lowest digit, of %1 to %9, at all its positions in the format `s`, and gives
// the filled text. Chained calls fill in rising order of the digits, and the text of an argument that holds a
// higher placeholder is itself filled by the next call. `width` pads the argument on the left to that many
// bytes with `fill` (0 stands for a blank); 0 or a negative width pads nothing.
//
// A format without a placeholder is cleared by the call and the result is a null text: hosts depend on it.
// They depend also on how the format is walked: a "%" that is not filled in this call is dropped, and after
// each character that is copied the walk goes on at the byte of the format whose offset is the length of the
// result so far. A placeholder that occurs once, with no other "%" before it, is thus simply replaced. A
// format must not end in a lone "%".
ORBU_EXPORT str* str_arg_str(str* s, const str* arg, int width, char fill);
ORBU_EXPORT str* str_arg_char(str* s, char arg, int width, char fill); // one STR_ASCII byte
ORBU_EXPORT str* str_arg_int(str* s, int value, int width, int base, char fill);
ORBU_EXPORT str* str_arg_long(str* s, long value, int width, int base, char fill);
ORBU_EXPORT str* str_arg_double(str* s, int width, char format, int precision, char fill, double value);
ORBU_EXPORT str* str_arg_float(str* s, int width, char format, int precision, char fill, float value);

// Parse an integer in `base` (at least 1; letters of both cases are 10 upward; no "0x"). Bytes 9, 10 and 32
// may stand before and behind it, one sign directly before the digits. An empty text, anything else in the
// text and a number out of range give 0 with `ok` 0; str_to_int has the range of 32 bits. The most negative
// long counts as out of range in a base that is a power of two.
ORBU_EXPORT long str_to_huge(const str* s, int* ok, int base);
ORBU_EXPORT long str_to_long(const str* s, int* ok, int base);
ORBU_EXPORT int str_to_int(const str* s, int* ok, int base);

// Parse a real number as strtod(3) does, blanks in front included; nothing may follow it. Overflow gives 0
// with `ok` 0.
ORBU_EXPORT double str_to_double(const str* s, int* ok);
ORBU_EXPORT float str_to_float(const str* s, int* ok);

// The byte offset, from the start of the text, of the first occurrence of `utf8` at or behind character
// `start`, or -1. Mark the two units: they differ behind a multi-byte character. `start` beyond the end gives
// -1. With `case_sensitive` 0 both texts are compared as str_upper leaves them.
ORBU_EXPORT int str_utf8_find(const str* s, const char* utf8, long start, int case_sensitive);
ORBU_EXPORT int str_find(const str* s, const str* other, long start, int case_sensitive);

// In place: changes the ASCII letters among the lead bytes.
ORBU_EXPORT void str_upper(str* s);
ORBU_EXPORT void str_lower(str* s);

// In place: takes blanks and bytes 9 to 13 off both ends. A text of nothing else stays as it is, on purpose.
ORBU_EXPORT void str_strip_whitespace(str* s);

// In place: drops all white space and then overwrites every character that is left, except the last, with one
// blank. Of the last one its lead byte is kept. Hosts depend on it, odd as it is; the library itself never
// calls it.
ORBU_EXPORT void str_simplify_whitespace(str* s);

// Finds the first `close` at or behind character `start` that has an `open` before it, and the last such
// `open`: nested spans are met innermost first. Gives the byte offset of `open` and stores the bytes from
// there to `close` in `length` (may be null); -1 when there is none. An `open` or a first `close` at offset 0
// does not count, on purpose.
ORBU_EXPORT int str_find_span(const str* s, const char* open, const char* close, int* length, int start);

// In place: cuts the text at each run of bytes of `set` and joins the pieces with "!{hh}". The escape in
// front of a piece names, in hexadecimal, the first byte of the run behind it, and 0 for the end of the text.
ORBU_EXPORT void str_collapse(str* s, const char* set);

// In place, the reverse half of str_collapse: a text without an escape comes out twice. Hosts depend on it;
// the library itself never calls it. A text with an escape gives what stands before it and then the whole
// text.
ORBU_EXPORT void str_expand(str* s);

// Tests on the one byte at `p`, which must not be null. White space is bytes 9, 10 and 32 here; a digit is
// "0" to "9", its value 0 to 9 or, for any other byte, -1.
ORBU_EXPORT int str_utf8_is_whitespace(const char* p);
ORBU_EXPORT int str_utf8_is_digit(const char* p);
ORBU_EXPORT int str_utf8_digit_value(const char* p);
