// What the text operations share among themselves and with the object layer.
#pragma once

#include "orbuutil/c_strPrivate.h"
#include "orbuutil/c_strops.h"

#include <bit>
#include <cstdint>
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

// A text as the key of a table: its hash and its comparison from the first eight bytes where they suffice.
// (That many can always be read, see private_str_padding.) The string must outlive the key.
class StrKey {
public:
    explicit StrKey(const str* s) : mpString(s), mpText(private_str_text(s)) {
        if (mpText == nullptr) {
            return;
        }
        mWord = load(mpText);
        const std::uint64_t end = zeros(mWord);
        mLength = end != 0 ? std::countr_zero(end) / 8 : 8;
        if (mLength < 8) {
            mMask = (std::uint64_t{0x100} << 8 * mLength) - 1; // with the NUL; all of them for a length of 7
            mWord &= mMask;
        }
    }

    // str_hash of the text.
    unsigned long hash() const {
        if (mpText == nullptr || mLength == 0) {
            return 0;
        }
        if (mLength == 8 && mpText[8] != 0) {
            return mWord;
        }
        if ((mWord & highBits) == 0) {
            return __builtin_bswap64(mWord) >> (64 - 8 * mLength);
        }
        std::uint64_t value = 0;
        for (int i = 0; i < mLength; ++i) {
            value = value << 8 | static_cast<std::uint64_t>(static_cast<signed char>(mpText[i]));
        }
        return value;
    }

    // Not empty, and without this byte.
    bool isWithout(char byte) const {
        if (mpText == nullptr || mLength == 0 ||
            zeros(mWord ^ ones * static_cast<unsigned char>(byte)) != 0) {
            return false;
        }
        return mLength < 8 || std::memchr(mpText + 8, byte,
                                          static_cast<size_t>(private_str_extent(mpString) - 8)) == nullptr;
    }

    // As str_cmp tells it.
    bool operator==(const str* other) const {
        const char* text = private_str_text(other);
        if (text == nullptr || mpText == nullptr) {
            return text == mpText;
        }
        return ((load(text) ^ mWord) & mMask) == 0 && (mLength < 8 || std::strcmp(text + 8, mpText + 8) == 0);
    }

    // Eight bytes, the first in the lowest place; one bit in every byte; and, for a word, bits of which the
    // lowest is the highest bit of the first zero byte.
    static constexpr std::uint64_t ones = 0x0101010101010101;
    static constexpr std::uint64_t highBits = 0x8080808080808080;
    static std::uint64_t load(const char* text) {
        std::uint64_t word = 0;
        std::memcpy(&word, text, sizeof word);
        return std::endian::native == std::endian::little ? word : __builtin_bswap64(word);
    }
    static std::uint64_t zeros(std::uint64_t word) { return (word - ones) & ~word & highBits; }

private:
    const str* mpString;
    const char* mpText;
    std::uint64_t mWord = 0;
    std::uint64_t mMask = ~std::uint64_t{0};
    int mLength = 0; // at most 8
};

// The tokens of a text, one after the other, without changing it: what stringPopFront gives when it is called
// until nothing is left. The text lies in a string's buffer (eight bytes are read at a time) and must outlive
// the walk.
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
