// What the string family shares among its own sources: the record, its buffers, walks and the codec table.
#pragma once

#include "orbuutil/c_str.h"

#include <cstddef>

struct str {
    char* text; // UTF-8, ends in a NUL; null for a null string
    long size;  // bytes allocated for `text` with its terminator, 0 when it is null; a capacity, no length
};

// Bytes behind every text buffer that are zero and not counted in `size`: a character that is cut short, or
// an access of eight bytes, reads zeros there.
inline constexpr long private_str_padding = 8;

// The text of a string, null for a null pointer or a null text.
inline char* private_str_text(const str* s) { return s != nullptr ? s->text : nullptr; }
inline const char* private_str_text_or_empty(const str* s) {
    return s != nullptr && s->text != nullptr ? s->text : "";
}

// Bytes in the character that begins with this byte.
inline long private_str_char_bytes(char lead) {
    const auto byte = static_cast<unsigned char>(lead);
    if (byte < 0xC0) {
        return 1;
    }
    return byte < 0xE0 ? 2 : byte < 0xF0 ? 3 : byte < 0xF8 ? 4 : byte < 0xFC ? 5 : 6;
}

// A new string with a zeroed buffer for `bytes` bytes and a terminator (size = bytes + 1); null when memory
// is exhausted. The buffer of a short one lies in the object's own block: never free `text` by hand.
str* private_str_blank(long bytes);

// Frees the text: a null string.
void private_str_free_text(str* s);

// Makes `size` at least `size_needed` (exactly that when it grows), keeping the text. False when memory is
// exhausted: then everything is as it was.
bool private_str_reserve(str* s, long size_needed);

// Replaces the text by a converted source; see str_set. Always 1.
int private_str_set(str* s, const void* data, long bytes, long encoding);

// Byte offset of character `chars`, or -1 if the text ends before so many have been walked. The walk goes by
// lead bytes and never beyond `size`.
long private_str_offset(const str* s, long chars);

// The same, walking from byte `start` on.
long private_str_offset_from(const str* s, long start, long chars);

// A new string of `bytes` bytes from byte `offset` on; what the buffer does not have is zero.
str* private_str_part(const str* s, long offset, long bytes);

// Appends `bytes` bytes, which may lie in the string's own buffer, at byte `length`, and a terminator.
// Returns the new length, or `length` when memory is exhausted.
long private_str_append(str* s, long length, const char* text, long bytes);

// --- error record ---

inline constexpr long private_str_error_surrogate = 0x80000001;
inline constexpr long private_str_error_overflow = 0x80000002;
inline constexpr long private_str_error_memory = 0x80000003;

extern long str_last_error_code;
extern const char* str_last_error_text;
extern const char* str_last_error_file;
extern long str_last_error_line;

// Writes the error record; `text` must be a constant. File and line are those of the caller.
void private_str_raise(long code, const char* text, const char* file = __builtin_FILE(),
                       long line = __builtin_LINE());

// --- codecs ---

using private_str_word = unsigned long;

// One row of the table of encodings. The state words start at 0 for each conversion.
struct private_str_encoding {
    long unit;       // bytes of a unit
    long most;       // most bytes of one character
    long terminator; // bytes of a terminator
    bool variable;
    // Writes a code point; gives the bytes written, 0 for failure.
    long (*encode)(private_str_word point, char* to, long room, private_str_word* state);
    // Reads a code point; gives the bytes consumed, 0 to stop.
    long (*decode)(const char* from, long bytes, private_str_word* point, private_str_word* state);
    // Bytes that a code point takes; variable-width encodings only.
    long (*codelen)(private_str_word point);
    // Measures a terminated source.
    long (*len)(const char* source);
};

inline constexpr long private_str_encodings = 6;
extern const private_str_encoding str_encode_map[private_str_encodings];

// Sizing and conversion as the public functions do them, with what a string knows beyond its raw text:
// `srclen` is the length that the source's length function would find (-1: ask it), and `stopped` receives
// the place in `dst` behind what was written. `hard_room` bounds the terminator as well.
long private_str_requires(const void* src, long srcbytes, long srcenc, long dstenc, long srclen);
int private_str_convert(const void* src, long srcbytes, long srcenc, void* dst, long dstbytes, long dstenc,
                        long hard_room, char** stopped);

// The same through the table alone, one call for each character: what the fast loops are checked against.
long private_str_requires_by_table(const void* src, long srcbytes, long srcenc, long dstenc);
int private_str_convert_by_table(const void* src, long srcbytes, long srcenc, void* dst, long dstbytes,
                                 long dstenc);

// A zeroed buffer of `bytes` bytes with the padding behind it, for memory_free; null when memory is
// exhausted.
char* private_str_allocate(long bytes);
