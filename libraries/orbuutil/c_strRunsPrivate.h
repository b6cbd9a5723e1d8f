// Runs: what the conversions do to many characters at once, where the characters are the ordinary ones. A run
// goes on while it is sure of what the codecs would do, one character after the other, and leaves the rest to
// them: a code point 0, surrogates, forms of four bytes and more, everything ill-formed, and the last bytes
// of source and room. It never writes a byte that the codecs would not have written there.
//
// Little-endian machines only, as little_endian_runs tells.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>

namespace private_str_runs {

inline constexpr bool little_endian_runs = std::endian::native == std::endian::little;

struct Cursor {
    const char* src;
    long srcbytes;
    char* dst;
    long dstbytes;

    void step(long consumed, long written) {
        src += consumed;
        srcbytes -= consumed;
        dst += written;
        dstbytes -= written;
    }
};

template <class T>
inline T load(const char* from) {
    T value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
inline void store(char* to, T value) {
    std::memcpy(to, &value, sizeof value);
}

// Lanes of a word, and of a vector.
using Word = std::uint64_t;
inline constexpr Word each8 = 0x0101010101010101;
inline constexpr Word each16 = 0x0001000100010001;

using Bytes8 = std::uint8_t __attribute__((vector_size(8)));
using Bytes16 = std::int8_t __attribute__((vector_size(16)));
using Units8 = std::uint16_t __attribute__((vector_size(16)));
using Words2 = std::uint64_t __attribute__((vector_size(16)));

template <class Vector>
inline bool none(Vector mask) {
    const Words2 words = reinterpret_cast<Words2>(mask);
    return (words[0] | words[1]) == 0;
}

// A flag in the top bit of each byte that is 0 or beyond ASCII. The lowest flag is exact; one above it may be
// wrong.
inline Word not_ascii8(Word bytes) { return (bytes | (bytes - each8)) & (each8 << 7); }

// A flag in the top bit of each 16-bit lane that is 0. The lowest flag is exact.
inline Word zero16(Word units) { return (units - each16) & ~units & (each16 << 15); }

inline Word not_ascii16(Word units) {
    const Word high = units & (each16 * 0xFF80);
    return (((high & (each16 * 0x7FFF)) + each16 * 0x7FFF) | high | zero16(units)) & (each16 << 15);
}

// A flag for each lane that is below 0x800 or a surrogate.
inline Word not_three_bytes16(Word units) {
    const Word top = units & (each16 * 0xF800);
    return zero16(top) | zero16(top ^ (each16 * 0xD800));
}

inline long first_flag8(Word flags) { return std::countr_zero(flags) >> 3; }

inline bool is_ascii16(const char* from) { return none(load<Bytes16>(from) <= 0); }
inline bool is_ascii8_units(const char* from) { return none(load<Units8>(from) - 1 > 0x7E); }

// --- sizing ---

inline long sum_bytes(Bytes16 counts) {
    const Words2 words = reinterpret_cast<Words2>(counts);
    const Word mask = each16 * 0xFF;
    const Word sums =
        (words[0] & mask) + ((words[0] >> 8) & mask) + (words[1] & mask) + ((words[1] >> 8) & mask);
    return static_cast<long>((sums * each16) >> 48);
}

// UTF-8 by blocks of 16 bytes: gives the number of characters in front of `src` when it is done, each of
// which is one 16-bit unit. `src` stands at the beginning of a character before and after.
inline long count_units_of_utf8(const char*& src, long& srcbytes) {
    const char* at = src;
    const char* const end = src + srcbytes;
    long units = 0;
    Bytes16 one_before{};
    Bytes16 two_before{};
    bool stopped = false;
    while (!stopped && end - at >= 16) {
        Bytes16 continued{}; // a count in each lane
        long blocks = 0;
        for (; blocks < 255 && end - at >= 16; ++blocks, at += 16) {
            const auto bytes = load<Bytes16>(at);
            if (at == src) {
                const Bytes16 zero{};
                one_before = __builtin_shufflevector(zero, bytes, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24, 25,
                                                     26, 27, 28, 29, 30);
                two_before = __builtin_shufflevector(zero, bytes, 14, 15, 16, 17, 18, 19, 20, 21, 22, 23, 24,
                                                     25, 26, 27, 28, 29);
            } else {
                one_before = load<Bytes16>(at - 1);
                two_before = load<Bytes16>(at - 2);
            }
            const auto is_continuation = bytes < -64;
            const auto continues = ((one_before & -64) == -64) | ((two_before & -32) == -32);
            const auto other = ((bytes & -16) == -16) | (bytes == 0) | (bytes == -64) |
                               ((one_before == -32) & (bytes == -128));
            if (!none((is_continuation ^ continues) | other)) {
                stopped = true;
                break;
            }
            continued -= is_continuation;
        }
        units += blocks * 16 - sum_bytes(continued);
    }
    // A character that goes on behind the last block is not counted.
    if (at != src) {
        const auto lead = [at](long back) { return static_cast<unsigned char>(at[-back]); };
        const long back = lead(1) >= 0xC0 ? 1 : lead(2) >= 0xE0 ? 2 : 0;
        at -= back;
        units -= back != 0 ? 1 : 0;
    }
    srcbytes -= at - src;
    src = at;
    return units;
}

// UTF-16LE by blocks of 8 units: gives the bytes they take in UTF-8.
inline long count_bytes_of_utf16(const char*& src, long& srcbytes) {
    long bytes = 0;
    bool stopped = false;
    while (!stopped && srcbytes >= 16) {
        Units8 more{}; // a count in each lane
        long blocks = 0;
        for (; blocks < 8191 && srcbytes >= 16; ++blocks, src += 16, srcbytes -= 16) {
            const auto units = load<Units8>(src);
            const auto top = units & 0xF800;
            if (!none((units == 0) | (top == 0xD800))) {
                stopped = true;
                break;
            }
            more -= reinterpret_cast<Units8>((units & 0xFF80) != 0) + reinterpret_cast<Units8>(top != 0);
        }
        const Words2 words = reinterpret_cast<Words2>(more);
        const Word mask = 0x0000FFFF0000FFFF;
        const Word sums =
            (words[0] & mask) + ((words[0] >> 16) & mask) + (words[1] & mask) + ((words[1] >> 16) & mask);
        bytes += blocks * 8 + static_cast<long>((sums & 0xFFFFFFFF) + (sums >> 32));
    }
    return bytes;
}

// --- converting ---

inline void widen8(const char* from, char* to) {
    store(to, __builtin_convertvector(load<Bytes8>(from), Units8));
}

inline void narrow8(const char* from, char* to) {
    store(to, __builtin_convertvector(load<Units8>(from), Bytes8));
}

// The lowest `count` of 7 bytes, without touching what is behind them.
inline void store_bytes(char* to, Word bytes, long count) {
    if ((count & 4) != 0) {
        store(to, static_cast<std::uint32_t>(bytes));
        bytes >>= 32;
        to += 4;
    }
    if ((count & 2) != 0) {
        store(to, static_cast<std::uint16_t>(bytes));
        bytes >>= 16;
        to += 2;
    }
    if ((count & 1) != 0) {
        store(to, static_cast<std::uint8_t>(bytes));
    }
}

// UTF-8 to UTF-16LE.
inline Cursor utf8_to_utf16(Cursor c) {
    while (c.srcbytes >= 8) {
        const auto word = load<Word>(c.src);
        if ((word & 0x80) == 0) {
            const Word flags = not_ascii8(word);
            if (c.dstbytes < 16) {
                return c;
            }
            if (flags == 0) {
                widen8(c.src, c.dst);
                c.step(8, 16);
                while (c.srcbytes >= 16 && c.dstbytes >= 32 && is_ascii16(c.src)) {
                    widen8(c.src, c.dst);
                    widen8(c.src + 8, c.dst + 16);
                    c.step(16, 32);
                }
                continue;
            }
            if (*c.src == 0) {
                return c;
            }
            do {
                store(c.dst, static_cast<std::uint16_t>(*c.src));
                c.step(1, 2);
            } while (static_cast<signed char>(*c.src) > 0);
        } else if ((word & 0xC0E0) == 0x80C0) {
            const Word units = ((word & (each16 * 0x1F)) << 6) | ((word >> 8) & (each16 * 0x3F));
            const auto unit = static_cast<std::uint16_t>(units);
            if (unit < 0x80 || c.dstbytes < 8) {
                return c;
            }
            if ((word & (each16 * 0xC0E0)) != each16 * 0x80C0 || zero16(units & (each16 * 0xFF80)) != 0) {
                store(c.dst, unit);
                c.step(2, 2);
            } else {
                store(c.dst, units);
                c.step(8, 8);
            }
        } else if ((word & 0xC0C0F0) == 0x8080E0) {
            const auto unit_of = [](Word bytes) {
                return (bytes & 0xF) << 12 | (bytes >> 2 & 0xFC0) | (bytes >> 16 & 0x3F);
            };
            if (c.srcbytes >= 12 && c.dstbytes >= 8) {
                const auto second = load<Word>(c.src + 4);
                const Word wrong =
                    ((word >> 24) ^ 0x8080E0) | ((second >> 16) ^ 0x8080E0) | ((second >> 40) ^ 0x8080E0);
                const Word units = unit_of(word) | unit_of(word >> 24) << 16 | unit_of(second >> 16) << 32 |
                                   unit_of(second >> 40) << 48;
                if ((wrong & 0xC0C0F0) == 0 && not_three_bytes16(units) == 0) {
                    store(c.dst, units);
                    c.step(12, 8);
                    continue;
                }
            }
            const Word unit = unit_of(word);
            if (unit < 0x800 || (unit & 0xF800) == 0xD800 || c.dstbytes < 2) {
                return c;
            }
            store(c.dst, static_cast<std::uint16_t>(unit));
            c.step(3, 2);
        } else {
            return c;
        }
    }
    return c;
}

// UTF-16LE to UTF-8.
inline Cursor utf16_to_utf8(Cursor c) {
    while (c.srcbytes >= 8) {
        const auto word = load<Word>(c.src);
        const auto unit = static_cast<std::uint16_t>(word);
        if (unit < 0x80) {
            if (unit == 0 || c.dstbytes < 8) {
                return c;
            }
            if (not_ascii16(word) == 0) {
                const Word pairs = word | word >> 8;
                store(c.dst, static_cast<std::uint32_t>((pairs & 0xFFFF) | (pairs >> 16 & 0xFFFF0000)));
                c.step(8, 4);
                while (c.srcbytes >= 16 && c.dstbytes >= 8 && is_ascii8_units(c.src)) {
                    narrow8(c.src, c.dst);
                    c.step(16, 8);
                }
                continue;
            }
            std::uint16_t next = unit;
            do {
                *c.dst = static_cast<char>(next);
                c.step(2, 1);
                next = load<std::uint16_t>(c.src);
            } while (static_cast<std::uint16_t>(next - 1) < 0x7F);
        } else if (unit < 0x800) {
            if (c.dstbytes < 8) {
                return c;
            }
            if ((word & (each16 * 0xF800)) == 0 && zero16(word & (each16 * 0xFF80)) == 0) {
                store(c.dst, each16 * 0x80C0 | (word >> 6 & (each16 * 0x1F)) | (word & (each16 * 0x3F)) << 8);
                c.step(8, 8);
                continue;
            }
            store(c.dst, static_cast<std::uint16_t>(0x80C0 | unit >> 6 | (unit & 0x3F) << 8));
            c.step(2, 2);
        } else {
            const auto bytes_of = [](Word u) {
                return 0x8080E0 | (u >> 12 & 0xF) | (u << 2 & 0x3F00) | (u & 0x3F) << 16;
            };
            const Word first = bytes_of(word);
            if (c.dstbytes >= 12 && not_three_bytes16(word) == 0) {
                const Word third = bytes_of(word >> 32);
                store(c.dst, first | bytes_of(word >> 16) << 24 | third << 48);
                store(c.dst + 8, static_cast<std::uint32_t>(third >> 16 | bytes_of(word >> 48) << 8));
                c.step(8, 12);
                continue;
            }
            if ((unit & 0xF800) == 0xD800 || c.dstbytes < 3) {
                return c;
            }
            store(c.dst, static_cast<std::uint16_t>(first));
            c.dst[2] = static_cast<char>(first >> 16);
            c.step(2, 3);
        }
    }
    return c;
}

// Bytes to bytes, ASCII alone.
inline Cursor ascii_to_ascii(Cursor c) {
    while (c.srcbytes >= 16 && c.dstbytes >= 16 && is_ascii16(c.src)) {
        std::memcpy(c.dst, c.src, 16);
        c.step(16, 16);
    }
    if (c.srcbytes >= 8 && c.dstbytes >= 8) {
        const auto word = load<Word>(c.src);
        const Word flags = not_ascii8(word);
        const long ascii = flags == 0 ? 8 : first_flag8(flags);
        if (ascii == 8) {
            store(c.dst, word);
        } else {
            store_bytes(c.dst, word, ascii);
        }
        c.step(ascii, ascii);
    }
    return c;
}

} // namespace private_str_runs
