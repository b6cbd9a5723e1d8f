// The codecs: one code point at a time, to and from each encoding. They are inline, so that the table and the
// fast loops are made from the same code.
//
// An encoder writes a code point at `to` and gives the bytes written, 0 for failure; a decoder reads one at
// `from` and gives the bytes consumed, 0 to stop. The state word is 0 at the start of a conversion.
#pragma once

#include "orbuutil/c_strPrivate.h"

#include <bit>
#include <cstdint>
#include <cstring>

inline constexpr private_str_word str_utf8_offsets[] = {0,         0,          0x3080,    0xE2080,
                                                        0x3C82080, 0xFA082080, 0x82082080};
inline constexpr unsigned char str_utf8_first_mark[] = {0, 0x00, 0xC0, 0xE0, 0xF0};
inline constexpr private_str_word private_str_mark = 0xFEFF;

// --- bytes ---

inline long private_str_decode_ascii(const char* from, long bytes, private_str_word* point,
                                     private_str_word*) {
    if (bytes < 1) {
        return 0;
    }
    // A high byte becomes an enormous code point, which every encoder replaces.
    *point = static_cast<private_str_word>(static_cast<long>(static_cast<signed char>(*from)));
    return 1;
}

inline long private_str_encode_ascii(private_str_word point, char* to, long room, private_str_word*) {
    if (room < 1) {
        return 0;
    }
    *to = point < 0x80 ? static_cast<char>(point) : '?';
    return 1;
}

// Sum and subtract. Only the length is checked: overlong forms and surrogates pass, forms of five and six
// bytes are "?", and so is whatever comes out negative.
inline long private_str_decode_utf8(const char* from, long bytes, private_str_word* point,
                                    private_str_word*) {
    if (bytes < 1) {
        return 0;
    }
    const auto byte = [from](int i) {
        return static_cast<private_str_word>(static_cast<unsigned char>(from[i]));
    };
    if (byte(0) < 0xC0) {
        *point = byte(0);
        return 1;
    }
    const long length = private_str_char_bytes(*from);
    if (length > bytes) {
        return 0;
    }
    private_str_word sum = 0;
    if (length == 2) {
        sum = (byte(0) << 6) + byte(1);
    } else if (length == 3) {
        sum = (byte(0) << 12) + (byte(1) << 6) + byte(2);
    } else if (length == 4) {
        sum = (byte(0) << 18) + (byte(1) << 12) + (byte(2) << 6) + byte(3);
    }
    sum -= str_utf8_offsets[length];
    *point = sum > 0x7FFFFFFF ? '?' : sum;
    return length;
}

inline long private_str_utf8_codelen(private_str_word point) {
    return point < 0x80 ? 1 : point < 0x800 ? 2 : point < 0x10000 ? 3 : point < 0x200000 ? 4 : 1;
}

inline long private_str_encode_utf8(private_str_word point, char* to, long room, private_str_word*) {
    const long length = private_str_utf8_codelen(point);
    if (length > room) {
        return 0;
    }
    if (length == 1) {
        *to = point < 0x80 ? static_cast<char>(point) : '?';
        return 1;
    }
    for (long i = length - 1; i > 0; --i) {
        to[i] = static_cast<char>((point & 0x3F) | 0x80);
        point >>= 6;
    }
    to[0] = static_cast<char>(point | str_utf8_first_mark[length]);
    return length;
}

// --- 16-bit units ---

template <std::endian Order>
inline private_str_word private_str_load16(const char* from) {
    const auto first = static_cast<unsigned char>(from[0]);
    const auto second = static_cast<unsigned char>(from[1]);
    return Order == std::endian::big ? static_cast<private_str_word>(first << 8 | second)
                                     : static_cast<private_str_word>(second << 8 | first);
}

template <std::endian Order>
inline void private_str_store16(char* to, private_str_word unit) {
    const auto high = static_cast<char>(unit >> 8);
    const auto low = static_cast<char>(unit);
    to[0] = Order == std::endian::big ? high : low;
    to[1] = Order == std::endian::big ? low : high;
}

inline bool private_str_is_surrogate(private_str_word point) { return (point & ~0x7FFUL) == 0xD800; }

// Raises the error for a unit that cannot be read: too few bytes, or a surrogate. Pairs are refused like
// single ones, although the encoders write them.
void private_str_refuse_unit(long bytes, private_str_word unit);

template <std::endian Order>
inline long private_str_decode_unit(const char* from, long bytes, private_str_word* point) {
    if (bytes < 2) {
        private_str_refuse_unit(bytes, 0);
        return 0;
    }
    const private_str_word unit = private_str_load16<Order>(from);
    if (private_str_is_surrogate(unit)) {
        private_str_refuse_unit(bytes, unit);
        return 0;
    }
    *point = unit;
    return 2;
}

inline long private_str_decode_utf16BE(const char* from, long bytes, private_str_word* point,
                                       private_str_word*) {
    return private_str_decode_unit<std::endian::big>(from, bytes, point);
}

inline long private_str_decode_utf16LE(const char* from, long bytes, private_str_word* point,
                                       private_str_word*) {
    return private_str_decode_unit<std::endian::little>(from, bytes, point);
}

// The stream form: a mark FF FE in front is consumed with the first unit. The other mark is not known here:
// it arrives as 0xFFFE. A first unit that cannot be read behind a mark leaves the 2 bytes of the mark as the
// result and the code point as it was.
inline long private_str_decode_utf16(const char* from, long bytes, private_str_word* point,
                                     private_str_word* state) {
    long mark = 0;
    if (*state == 0) {
        if (bytes < 2) {
            return 0;
        }
        *state = ~private_str_word{0};
        mark = private_str_load16<std::endian::little>(from) == private_str_mark ? 2 : 0;
    }
    return mark + private_str_decode_unit<std::endian::little>(from + mark, bytes - mark, point);
}

inline long private_str_utf16_codelen(private_str_word point) {
    return point < 0x10000 || point >= 0x110000 ? 2 : 4;
}

template <std::endian Order>
inline long private_str_encode_units(private_str_word point, char* to, long room) {
    if (private_str_is_surrogate(point) || room < private_str_utf16_codelen(point)) {
        return 0;
    }
    if (point < 0x10000) {
        private_str_store16<Order>(to, point);
        return 2;
    }
    if (point >= 0x110000) {
        private_str_store16<Order>(to, '?');
        return 2;
    }
    private_str_store16<Order>(to, 0xD800 + ((point - 0x10000) >> 10));
    private_str_store16<Order>(to + 2, 0xDC00 + (point & 0x3FF));
    return 4;
}

inline long private_str_encode_utf16BE(private_str_word point, char* to, long room, private_str_word*) {
    return private_str_encode_units<std::endian::big>(point, to, room);
}

inline long private_str_encode_utf16LE(private_str_word point, char* to, long room, private_str_word*) {
    return private_str_encode_units<std::endian::little>(point, to, room);
}

// The stream form: a mark in front of the first unit, everything in machine order.
inline long private_str_encode_utf16(private_str_word point, char* to, long room, private_str_word* state) {
    long mark = 0;
    if (*state == 0) {
        if (room < 4) {
            return 0;
        }
        *state = ~private_str_word{0};
        private_str_store16<std::endian::native>(to, private_str_mark);
        mark = 2;
    }
    const long written = private_str_encode_units<std::endian::native>(point, to + mark, room - mark);
    return written == 0 ? 0 : mark + written;
}

// --- 32-bit units ---

// A whole machine word is read and written at a step of four bytes: hosts depend on what follows from it.
inline long private_str_decode_utf32(const char* from, long bytes, private_str_word* point,
                                     private_str_word*) {
    if (bytes < static_cast<long>(sizeof *point)) {
        return 0;
    }
    std::memcpy(point, from, sizeof *point);
    return 4;
}

inline long private_str_encode_utf32(private_str_word point, char* to, long room, private_str_word*) {
    if (room < static_cast<long>(sizeof point)) {
        return 0;
    }
    std::memcpy(to, &point, sizeof point);
    return 4;
}

// --- lengths of terminated sources, 0 for a null pointer ---

long private_str_ascii_len(const char* source);
long private_str_utf8_len(const char* source);
long private_str_utf16_len(const char* source);
long private_str_utf16be_len(const char* source);
long private_str_utf16le_len(const char* source);
long private_str_utf32_len(const char* source);
