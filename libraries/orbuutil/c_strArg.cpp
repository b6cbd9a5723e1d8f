#include "orbuutil/c_stropsPrivate.h"

#include "orbuutil/c_str.h"

#include <algorithm>

namespace {

constexpr int NO_PLACEHOLDER = 10;

// A character of STR_ASCII as it stands in a text.
constexpr char ascii(char c) { return static_cast<signed char>(c) < 0 ? '?' : c; }

// What a format holds for one call.
struct Placeholders {
    int lowest = NO_PLACEHOLDER;
    long count = 0;         // of the lowest
    long first = 0;         // offset of the first of them
    long firstPercent = -1; // offset of the first "%" of any kind
};

// The offset of the first "%" at or behind `from`, a character's start, that begins a character; `extent` for
// none.
long nextPercent(const char* text, long from, long extent) {
    while (from < extent) {
        const void* found = std::memchr(text + from, '%', static_cast<size_t>(extent - from));
        if (found == nullptr)
            return extent;
        const long at = static_cast<const char*>(found) - text;
        // Only a lead byte of several bytes, less than six in front, can have the "%" inside its character.
        const bool plain = std::all_of(text + std::max(from, at - 5), text + at,
                                       [](char c) { return static_cast<unsigned char>(c) < 0xC0; });
        if (plain)
            return at;
        while (from < at)
            from += private_str_char_bytes(text[from]);
        if (from == at)
            return at;
    }
    return extent;
}

Placeholders scan(const char* text, long extent) {
    Placeholders found;
    for (long at = nextPercent(text, 0, extent); at < extent;) {
        if (found.firstPercent < 0)
            found.firstPercent = at;
        if (at + 1 == extent) // a lone "%": the format ends here, whatever the buffer holds behind it
            break;
        const int digit = static_cast<signed char>(text[at + 1]) - '0';
        if (digit >= 1 && digit < found.lowest) {
            found.lowest = digit;
            found.count = 1;
            found.first = at;
        } else if (digit == found.lowest) {
            ++found.count;
        }
        at = nextPercent(text, at + 1 + private_str_char_bytes(text[at + 1]), extent);
    }
    return found;
}

// Walks a format and tells the sink what the result consists of: argument() and format(from, bytes).
//
// The walk goes on, after each character copied, at the offset that the result has reached. Up to the first
// placeholder that is where it stands anyway; behind it a longer argument skips part of the format and a
// shorter one repeats part of it, and a "%" dropped on the way has the character behind it copied twice.
// Hosts depend on this.
template <typename Sink>
void walk(const char* text, long extent, Placeholders const& found, long argBytes, Sink& sink) {
    long count = found.count;
    long length = 0; // of the result
    long p = 0;
    // Past the end, where a long argument can take it, the walk is at its end too.
    while (p < extent) {
        if (text[p] == '%') {
            if (p + 1 < extent && text[p + 1] == static_cast<char>('0' + found.lowest)) {
                sink.argument();
                length += argBytes;
                p += 2;
                if (--count == 0) {
                    sink.format(p, extent - p);
                    return;
                }
                continue;
            }
            // A "%" at the very end is dropped. To go on at the result's length could come back to it for
            // ever, and there is nothing left to copy.
            if (++p == extent)
                return;
        }
        const long bytes = std::min<long>(private_str_char_bytes(text[p]), extent - p);
        sink.format(p, bytes);
        length += bytes;
        p = length;
    }
}

struct Measure {
    long argBytes;
    long bytes = 0;
    void argument() { bytes += argBytes; }
    void format(long, long count) { bytes += count; }
};

struct Argument {
    const char* text;
    long bytes;
    long padding;
    char fill;

    long length() const { return padding + bytes; }
    char* write(char* to) const {
        to = std::fill_n(to, padding, fill);
        return std::copy_n(text, bytes, to);
    }
};

struct Write {
    const char* text;
    Argument const& arg;
    char* to;
    void argument() { to = arg.write(to); }
    void format(long from, long count) { to = std::copy_n(text + from, count, to); }
};

} // namespace

str* private_str_fill(str* s, const char* arg, long bytes, int width, char fill) {
    const long extent = private_str_extent(s);
    const Placeholders found = scan(extent > 0 ? s->text : "", extent);
    if (found.lowest == NO_PLACEHOLDER) {
        // The copy runs from the new result to the format: both end up null. Hosts depend on it.
        str* result = str_init();
        if (s != nullptr)
            str_cpy(result, s);
        return result;
    }

    const char* text = s->text;
    const Argument argument{arg, bytes, width > bytes ? width - bytes : 0, fill != 0 ? ascii(fill) : ' '};
    if (found.count == 1 && found.firstPercent == found.first) {
        const long rest = found.first + 2;
        str* result = private_str_blank(extent - 2 + argument.length());
        if (result == nullptr)
            return nullptr;
        char* to = std::copy_n(text, found.first, result->text);
        std::copy_n(text + rest, extent - rest, argument.write(to));
        return result;
    }

    Measure measure{argument.length()};
    walk(text, extent, found, argument.length(), measure);
    str* result = private_str_blank(measure.bytes);
    if (result == nullptr)
        return nullptr;
    Write write{text, argument, result->text};
    walk(text, extent, found, argument.length(), write);
    return result;
}

str* str_arg_str(str* s, const str* arg, int width, char fill) {
    const long bytes = private_str_extent(arg);
    return private_str_fill(s, bytes > 0 ? arg->text : "", bytes, width, fill);
}

str* str_arg_char(str* s, char arg, int width, char fill) {
    const char byte = ascii(arg);
    return private_str_fill(s, &byte, byte != 0 ? 1 : 0, width, fill);
}

str* str_arg_int(str* s, int value, int width, int base, char fill) {
    return str_arg_long(s, value, width, base, fill);
}

str* str_arg_long(str* s, long value, int width, int base, char fill) {
    char room[PRIVATE_DIGITS_ROOM];
    return private_str_fill(s, room, private_str_digits(room, value, base), width, fill);
}

str* str_arg_double(str* s, int width, char format, int precision, char fill, double value) {
    char room[PRIVATE_REAL_ROOM];
    return private_str_fill(s, room, private_str_real(room, format, precision, value), width, fill);
}

str* str_arg_float(str* s, int width, char format, int precision, char fill, float value) {
    return str_arg_double(s, width, format, precision, fill, static_cast<double>(value));
}
