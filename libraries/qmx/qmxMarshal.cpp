#include "qmx/qmxMarshal.h"

#include "orbuutil/c_listPrivate.h"
#include "orbuutil/c_stropsPrivate.h"
#include "orbuutil/tstrListPrivate.h"
#include "qmx/qmxLogPrivate.h"
#include "qmx/qmxTextPrivate.h"

#include <algorithm>
#include <array>

namespace {

// What a byte becomes: one or three bytes, and zeros behind them.
struct Escape {
    char text[4];
    int bytes;
};

constexpr bool isPlain(unsigned char c) {
    return static_cast<unsigned char>(c - '0') < 10 || static_cast<unsigned char>((c | 0x20) - 'a') < 26 ||
           c == '_' || c == '-';
}

constexpr std::array<Escape, 256> makeEscapes() {
    constexpr char hex[] = "0123456789abcdef";
    std::array<Escape, 256> table{};
    for (unsigned c = 0; c < 256; ++c) {
        if (isPlain(static_cast<unsigned char>(c)))
            table[c] = {{static_cast<char>(c), 0, 0, 0}, 1};
        else
            table[c] = {{'!', hex[c >> 4], hex[c & 15], 0}, 3};
    }
    return table;
}

constexpr std::array<signed char, 256> makeHexValues() {
    std::array<signed char, 256> table{};
    table.fill(-1);
    for (unsigned char i = 0; i < 10; ++i)
        table['0' + i] = static_cast<signed char>(i);
    for (unsigned char i = 0; i < 6; ++i) {
        table['a' + i] = static_cast<signed char>(10 + i);
        table['A' + i] = static_cast<signed char>(10 + i);
    }
    return table;
}

constexpr std::array<Escape, 256> escapes = makeEscapes();
constexpr std::array<signed char, 256> hexValues = makeHexValues();

TStr adopt(str* made) { return TStr(static_cast<void*>(made)); }

// The value of the two characters of an escape, by the rules of TStr::toLong (a sign or a blank passes);
// false when they cannot be decoded, which is reported with the whole input. Two bytes at least are there.
bool decodePair(const char* pair, const char* whole, long bytes, char* byte) {
    const long high = hexValues[static_cast<unsigned char>(pair[0])];
    const long low = hexValues[static_cast<unsigned char>(pair[1])];
    if (high >= 0 && low >= 0) {
        *byte = static_cast<char>(high << 4 | low);
        return true;
    }
    const long left = whole + bytes - pair;
    const long two = private_text_offset(pair, left, 2);
    const TStr text(pair, two < 0 ? left : two, STR_UTF8);
    bool ok = false;
    const long value = text.toLong(&ok, 16);
    if (!ok) {
        qmxLogError("Could not decode escape in string: %1 (%2)", TStr(whole, bytes, STR_UTF8), text);
        return false;
    }
    if (value >= 256) {
        qmxLogError("UTF-8 character out of range: %1", value);
        return false;
    }
    *byte = static_cast<char>(value);
    return true;
}

TList<TStr> oneItem(TStr const& s) {
    TList<TStr> list;
    list_push(list.handle(), &s);
    return list;
}

} // namespace

// Counted in blocks of what a byte can count, so that many bytes are looked at at once.
long private_marshalled_bytes(const char* text, long bytes) {
    constexpr long block = 240;
    long escaped = 0;
    for (const char* const end = text + bytes; text < end;) {
        const long count = std::min(block, static_cast<long>(end - text));
        unsigned char inBlock = 0;
        for (long i = 0; i < count; ++i)
            inBlock = static_cast<unsigned char>(inBlock + !isPlain(static_cast<unsigned char>(text[i])));
        escaped += inBlock;
        text += count;
    }
    return bytes + 2 * escaped;
}

// Every byte writes four, the surplus being zeros. A text buffer's zeroed tail has the room for it.
char* private_marshal_to(char* to, const char* text, long bytes) {
    for (long i = 0; i < bytes; ++i) {
        const Escape& escape = escapes[static_cast<unsigned char>(text[i])];
        std::memcpy(to, escape.text, sizeof escape.text);
        to += escape.bytes;
    }
    return to;
}

str* private_unmarshal_bytes(const char* text, long bytes) {
    // Most texts have no escape at all.
    const void* first = bytes > 0 ? std::memchr(text, '!', static_cast<size_t>(bytes)) : nullptr;
    if (first == nullptr)
        return private_str_from_bytes(text, bytes);

    constexpr long roomOnStack = 1024;
    char room[roomOnStack];
    str* large = bytes > roomOnStack ? private_str_blank(bytes) : nullptr;
    char* const start = bytes > roomOnStack ? private_str_text(large) : room;
    if (start == nullptr)
        return nullptr;

    const char* from = static_cast<const char*>(first);
    const char* const end = text + bytes;
    char* to = std::copy(text, from, start);
    while (from < end) {
        if (*from != '!') {
            *to++ = *from++;
            continue;
        }
        if (end - from < 3 || !decodePair(from + 1, text, bytes, to))
            break;
        ++to;
        from += 3;
    }
    str* made =
        private_str_from_bytes(start, static_cast<long>(strnlen(start, static_cast<size_t>(to - start))));
    str_uninit(large);
    return made;
}

TStr marshalString(TStr const& s) {
    const char* text = private_str_text_or_empty(s.handle());
    const long bytes = private_str_extent(s.handle());
    str* made = private_str_blank(private_marshalled_bytes(text, bytes));
    if (made != nullptr)
        private_marshal_to(made->text, text, bytes);
    return adopt(made);
}

TStr unmarshalString(TStr const& s) {
    return adopt(
        private_unmarshal_bytes(private_str_text_or_empty(s.handle()), private_str_extent(s.handle())));
}

str* private_marshal_list(TList<TStr> const& list) {
    char count[PRIVATE_DIGITS_ROOM];
    const long digits = private_str_digits(count, list_count(list.handle()), 10);
    long total = 1 + digits + 1;
    for (const list_entry* e = list_head(list.handle()); e != nullptr; e = e->next) {
        const str* item = static_cast<const TStr*>(e->value)->handle();
        total += private_marshalled_bytes(private_str_text_or_empty(item), private_str_extent(item)) +
                 (e->next != nullptr);
    }

    str* made = private_str_blank(total);
    if (made == nullptr)
        return made;
    char* to = made->text;
    *to++ = '#';
    to = std::copy_n(count, digits, to);
    *to++ = ':';
    for (const list_entry* e = list_head(list.handle()); e != nullptr; e = e->next) {
        const str* item = static_cast<const TStr*>(e->value)->handle();
        to = private_marshal_to(to, private_str_text_or_empty(item), private_str_extent(item));
        if (e->next != nullptr)
            *to++ = ',';
    }
    return made;
}

TStr marshalStringList(TList<TStr> const& list) { return adopt(private_marshal_list(list)); }

TList<TStr> unmarshalStringList(TStr const& s) {
    if (s.isEmpty())
        return TList<TStr>();
    // Any other first character passes for the "#", unless there is a "#" further on.
    if (s.find("#") > 0)
        return oneItem(s);
    const int colon = s.find(":");
    if (colon <= 0)
        return oneItem(s);
    bool ok = false;
    const long count = s.mid(1, colon - 1).toLong(&ok, 10);
    if (!ok)
        return oneItem(s);

    // Counted first: the parts are decoded only when their number is right.
    const TStr rest = s.mid(colon + 1, -1);
    const StrTokens parts(private_str_text_or_empty(rest.handle()), private_str_extent(rest.handle()), ",");
    const char* token = nullptr;
    long bytes = 0;
    long found = 0;
    for (StrTokens walk = parts; walk.next(&token, &bytes);)
        ++found;
    if (found != count)
        return oneItem(s);

    TList<TStr> list;
    for (StrTokens walk = parts; walk.next(&token, &bytes);)
        private_tlist_adopt(list,
                            token != nullptr ? private_unmarshal_bytes(token, bytes) : private_str_blank(0));
    return list;
}
