#include "orbuutil/c_stropsPrivate.h"

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
