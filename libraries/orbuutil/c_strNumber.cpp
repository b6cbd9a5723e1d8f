#include "orbuutil/c_stropsPrivate.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <locale.h>

namespace {

constexpr bool isNumberSpace(char c) { return c == 9 || c == 10 || c == 32; }

// The "C" locale, for numbers that other processes read. The object lives as long as the process; it is one
// of the run time's own and takes no memory.
locale_t cLocale() {
    static const locale_t locale = newlocale(LC_ALL_MASK, "C", nullptr);
    return locale;
}

// The calling thread writes numbers as in "C" while this lives.
class CLocaleScope {
public:
    CLocaleScope() : mPrevious(uselocale(cLocale())) {}
    CLocaleScope(CLocaleScope const&) = delete;
    CLocaleScope& operator=(CLocaleScope const&) = delete;
    ~CLocaleScope() { uselocale(mPrevious); }

private:
    locale_t mPrevious;
};

// Whether the byte is a digit in the base. The tests go by signed chars, so that no byte from 0x80 up is a
// letter in a large base.
bool private_str_ok_in_base(char byte, int base) {
    const long c = static_cast<signed char>(byte);
    if (base <= 10)
        return c >= '0' && c <= '0' + base - 1;
    return (c >= '0' && c <= '9') || (c >= 'a' && c < 87L + base) || (c >= 'A' && c < 55L + base);
}

// The value of a digit in the base, -1 for anything else.
long digitInBase(char byte, int base) {
    if (!private_str_ok_in_base(byte, base))
        return -1;
    return byte - (byte <= '9' ? '0' : byte >= 'a' ? 87 : 55);
}

constexpr double powersOfTen[] // from the fourth negative one
    = {1e-4, 1e-3, 1e-2, 1e-1, 1e0,  1e1,  1e2,  1e3,  1e4,  1e5,
       1e6,  1e7,  1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15};

__extension__ typedef unsigned __int128 Wide;

// What "%g" writes for numbers that need no exponent, which is most of them, at a tenth of its cost. Gives
// the bytes, 0 for any other number. Exact: the six digits are cut from the number as an integer of 128 bits
// and rounded to even.
long writeShortReal(char* room, double value) {
    const double magnitude = std::fabs(value);
    if (!((magnitude >= 1e-4 && magnitude < 999999.5) || magnitude == 0.0))
        return 0;
    int exponent = magnitude == 0.0 ? 0 : -4; // of ten, of the first digit
    while (exponent < 5 && magnitude >= powersOfTen[exponent + 5])
        ++exponent;
    int shift = 0; // of two
    auto scaled = static_cast<Wide>(std::ldexp(std::frexp(magnitude, &shift), 53));
    shift = 53 - shift;
    for (int i = exponent; i < 5; ++i)
        scaled *= 10;
    auto digits = static_cast<long>(scaled >> shift);
    const Wide rest = scaled - (static_cast<Wide>(digits) << shift);
    const Wide half = static_cast<Wide>(1) << (shift - 1);
    if (rest > half || (rest == half && digits % 2 != 0))
        ++digits;
    if (digits == 1000000) {
        digits = 100000;
        ++exponent;
    }

    char text[6];
    for (int i = 6; i-- > 0; digits /= 10)
        text[i] = static_cast<char>('0' + digits % 10);
    int used = 6;
    while (used > 1 && used > exponent + 1 && text[used - 1] == '0')
        --used;

    char* to = room;
    if (std::signbit(value))
        *to++ = '-';
    const int whole = exponent < 0 ? 0 : exponent + 1;
    to = exponent < 0 ? std::copy_n("0.000", 1 - exponent, to) : std::copy_n(text, whole, to);
    if (exponent >= 0 && used > whole)
        *to++ = '.';
    return std::copy_n(text + whole, used - whole, to) - room;
}

// Digits with at most one point among them, and a sign in front: both parts of such a short number are exact,
// and so is their quotient. False for any other text.
bool readShortReal(const char* text, double* value) {
    const bool negative = *text == '-';
    text += negative ? 1 : 0;
    long whole = 0;
    int digits = 0;
    int behindPoint = 0;
    bool point = false;
    for (; digits <= 15; ++text) {
        if (*text >= '0' && *text <= '9') {
            whole = whole * 10 + (*text - '0');
            ++digits;
            behindPoint += point ? 1 : 0;
        } else if (*text == '.' && !point) {
            point = true;
        } else {
            break;
        }
    }
    if (digits == 0 || digits > 15 || *text != 0)
        return false;
    *value = static_cast<double>(whole) / powersOfTen[behindPoint + 4];
    if (negative)
        *value = -*value;
    return true;
}

template <typename T>
T report(int* ok, int done, T value) {
    if (ok != nullptr)
        *ok = done;
    return value;
}

} // namespace

str* private_str_from_bytes(const char* text, long bytes) {
    str* made = private_str_blank(bytes);
    if (made != nullptr && bytes > 0)
        std::memcpy(made->text, text, static_cast<size_t>(bytes));
    return made;
}

long private_str_digits(char* room, long value, int base) {
    if (base < 2 || base > 36)
        base = 10;
    return std::to_chars(room, room + PRIVATE_DIGITS_ROOM, value, base).ptr - room;
}

long private_str_real(char* room, char format, int precision, double value) {
    const size_t size = PRIVATE_REAL_ROOM;
    const int digits = precision > 99 ? 99 : precision; // a negative one is as good as none to printf
    if (format == 'g' && precision == 6) {
        const long written = writeShortReal(room, value);
        if (written > 0)
            return written;
    }
    const CLocaleScope scope;
    int bytes = 0;
    switch (format) {
    case 'E':
        bytes = std::snprintf(room, size, "%.*lE", digits, value);
        break;
    case 'F':
        bytes = std::snprintf(room, size, "%.*lF", digits, value);
        break;
    case 'G':
        bytes = std::snprintf(room, size, "%.*lG", digits, value);
        break;
    case 'e':
        bytes = std::snprintf(room, size, "%.*le", digits, value);
        break;
    case 'g':
        bytes = std::snprintf(room, size, "%.*lg", digits, value);
        break;
    default:
        bytes = std::snprintf(room, size, "%.*lf", digits, value);
        break;
    }
    if (bytes < 0)
        return 0;
    return bytes < PRIVATE_REAL_ROOM ? bytes : PRIVATE_REAL_ROOM - 1;
}

str* str_from_huge(long value, int base) {
    char room[PRIVATE_DIGITS_ROOM];
    return private_str_from_bytes(room, private_str_digits(room, value, base));
}

str* str_from_long(long value, int base) { return str_from_huge(value, base); }

str* str_from_int(int value, int base) { return str_from_huge(value, base); }

str* str_from_double(char format, int precision, double value) {
    char room[PRIVATE_REAL_ROOM];
    return private_str_from_bytes(room, private_str_real(room, format, precision, value));
}

str* str_from_float(char format, int precision, float value) {
    return str_from_double(format, precision, static_cast<double>(value));
}

long str_to_huge(const str* s, int* ok, int base) {
    if (private_str_extent(s) == 0 || base < 1)
        return report(ok, 0, 0L);

    const char* p = s->text;
    while (isNumberSpace(*p))
        ++p;
    const bool negative = *p == '-';
    if (*p == '-' || *p == '+')
        ++p;

    // The limit holds for the digit behind an accumulator that stands at the cut-off. A minus allows one
    // more, which is what the most negative long needs; in a base that divides it, it needs a digit more than
    // the cut-off allows and is out of range.
    const unsigned long cutOff = static_cast<unsigned long>(LONG_MAX / base);
    const long limit = LONG_MAX % base + (negative ? 1 : 0);
    unsigned long value = 0;
    long digit = digitInBase(*p, base);
    if (digit < 0)
        return report(ok, 0, 0L);
    for (; digit >= 0; digit = digitInBase(*++p, base)) {
        if (value > cutOff || (value == cutOff && digit > limit))
            return report(ok, 0, 0L);
        value = value * static_cast<unsigned long>(base) + static_cast<unsigned long>(digit);
    }

    while (isNumberSpace(*p))
        ++p;
    if (*p != 0)
        return report(ok, 0, 0L);
    return report(ok, 1, static_cast<long>(negative ? 0UL - value : value));
}

long str_to_long(const str* s, int* ok, int base) { return str_to_huge(s, ok, base); }

int str_to_int(const str* s, int* ok, int base) {
    int done = 0;
    const long value = str_to_huge(s, &done, base);
    if (value < INT_MIN || value > INT_MAX)
        return report(ok, 0, 0);
    return report(ok, done, static_cast<int>(value));
}

double str_to_double(const str* s, int* ok) {
    if (private_str_extent(s) == 0)
        return report(ok, 0, 0.0);
    double quick = 0.0;
    if (readShortReal(s->text, &quick))
        return report(ok, 1, quick);
    const int before = errno;
    errno = 0;
    char* end = nullptr;
    const double value = strtod_l(s->text, &end, cLocale());
    const bool overflow = errno == ERANGE && std::isinf(value);
    errno = before;
    if (end == s->text || *end != 0 || overflow)
        return report(ok, 0, 0.0);
    return report(ok, 1, value);
}

float str_to_float(const str* s, int* ok) {
    int done = 0;
    const double value = str_to_double(s, &done);
    const float narrow = static_cast<float>(value);
    if (std::isinf(narrow) && !std::isinf(value))
        return report(ok, 0, 0.0F);
    return report(ok, done, narrow);
}

int str_utf8_is_whitespace(const char* p) { return isNumberSpace(*p) ? 1 : 0; }

int str_utf8_is_digit(const char* p) { return *p >= '0' && *p <= '9' ? 1 : 0; }

int str_utf8_digit_value(const char* p) { return str_utf8_is_digit(p) != 0 ? *p - '0' : -1; }
