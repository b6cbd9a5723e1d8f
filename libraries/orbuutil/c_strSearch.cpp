#include "orbuutil/c_stropsPrivate.h"

#include "orbuutil/c_str.h"

#include <algorithm>
#include <bit>
#include <string_view>

namespace {

constexpr bool private_str_is_whitespace(char c) { return c == ' ' || (c >= 9 && c <= 13); }

// Calls visit(character) for each character of the text, up to its end.
template <typename Visit>
void forEachCharacter(str* s, Visit visit) {
    const long extent = private_str_extent(s);
    for (long at = 0; at < extent; at += private_str_char_bytes(s->text[at]))
        visit(s->text + at);
}

int findText(const char* text, long extent, const char* needle, long start) {
    const long from = private_text_offset(text, extent, start);
    if (from < 0)
        return -1;
    const char* found = std::strstr(text + from, needle);
    return found != nullptr ? static_cast<int>(found - text) : -1;
}

bool is_ascii(const char* text, long bytes) {
    unsigned char all = 0;
    for (long i = 0; i < bytes; ++i)
        all |= static_cast<unsigned char>(text[i]);
    return all < 0x80;
}

} // namespace

int str_null(const str* s) { return s == nullptr || s->text == nullptr ? 1 : 0; }

unsigned long str_hash(const str* s) { return StrKey(s).hash(); }

long private_text_offset(const char* text, long extent, long n) {
    if (n <= extent && is_ascii(text, n))
        return std::max(n, 0L);
    long at = 0;
    for (; n > 0; --n) {
        if (at >= extent)
            return -1;
        at += private_str_char_bytes(text[at]);
    }
    return std::min(at, extent);
}

// What stands in front of the first separator when that is one byte and all in front of it is ASCII, so that
// offsets are positions; null otherwise.
static const char* ascii_end(const char* text, const char* end, char separator) {
    const std::uint64_t wanted = StrKey::ones * static_cast<unsigned char>(separator);
    for (; text < end; text += 8) {
        const std::uint64_t word = StrKey::load(text);
        const std::uint64_t places = StrKey::zeros(word ^ wanted);
        // Only bytes in front of the first place count.
        if ((word & StrKey::highBits & ((places & -places) - 1)) != 0)
            return nullptr;
        if (places != 0)
            return std::min(text + std::countr_zero(places) / 8, end);
    }
    return end;
}

bool StrTokens::next(const char** token, long* bytes) {
    if (at == nullptr || at == end)
        return false;
    const char* rest = at;
    const char* plain = separator != nullptr && separator[0] != 0 && separator[1] == 0
                            ? ascii_end(at, end, *separator)
                            : nullptr;
    if (plain != nullptr) {
        found = plain != end;
        *token = plain != rest ? rest : nullptr;
        *bytes = plain - rest;
        at = found ? plain + 1 : nullptr;
        return true;
    }
    const long extent = end - at;
    // Over the text's known length and not by strstr, which may measure the rest for every token.
    const size_t offset = separator != nullptr
                              ? std::string_view(rest, static_cast<size_t>(extent)).find(separator)
                              : std::string_view::npos;
    found = offset != std::string_view::npos;
    *token = rest;
    *bytes = extent;
    at = nullptr;
    if (!found)
        return true;
    // The offset counts bytes and is taken as a count of characters; one more goes for the separator.
    const long cut = private_text_offset(rest, extent, static_cast<long>(offset));
    if (cut >= 0 && cut < extent)
        at = std::min(rest + cut + private_str_char_bytes(rest[cut]), end);
    if (offset == 0)
        *token = nullptr;
    if (cut >= 0)
        *bytes = cut;
    return true;
}

str* str_left(const str* s, int n) {
    str* copy = str_dup(s);
    if (str_null(copy) != 0 || n < 0)
        return copy;
    const long cut = private_text_offset(copy->text, private_str_extent(copy), n);
    if (cut >= 0)
        copy->text[cut] = 0;
    return copy;
}

str* str_right(const str* s, int n) {
    if (str_null(s) != 0)
        return nullptr;
    const long count = str_utf8_char_count(s);
    if (n < 0 || n >= count)
        return str_dup(s);
    return str_mid(s, count - n, -1);
}

str* str_pad(const str* s, int n) {
    const long piece = private_str_extent(s);
    // An empty text would be appended for ever.
    if (n <= piece || piece == 0)
        return str_dup(s);
    const long copies = (n + piece - 1) / piece;
    str* padded = private_str_blank(copies * piece);
    if (padded == nullptr)
        return nullptr;
    for (long i = 0; i < copies; ++i)
        std::memcpy(padded->text + i * piece, s->text, static_cast<size_t>(piece));
    return padded;
}

int str_utf8_find(const str* s, const char* utf8, long start, int case_sensitive) {
    if (str_null(s) != 0 || utf8 == nullptr)
        return -1;
    if (case_sensitive != 0)
        return findText(s->text, private_str_extent(s), utf8, start);
    str* text = str_dup(s);
    str* needle = str_from_utf8(utf8);
    str_upper(text);
    str_upper(needle);
    const int found = findText(text->text, private_str_extent(text), needle->text, start);
    str_uninit(needle);
    str_uninit(text);
    return found;
}

int str_find(const str* s, const str* other, long start, int case_sensitive) {
    return str_utf8_find(s, other != nullptr ? other->text : nullptr, start, case_sensitive);
}

void str_upper(str* s) {
    forEachCharacter(s, [](char* p) {
        if (*p >= 'a' && *p <= 'z')
            *p = static_cast<char>(*p - 'a' + 'A');
    });
}

void str_lower(str* s) {
    forEachCharacter(s, [](char* p) {
        if (*p >= 'A' && *p <= 'Z')
            *p = static_cast<char>(*p - 'A' + 'a');
    });
}

void str_strip_whitespace(str* s) {
    if (s == nullptr)
        return;
    if (s->text == nullptr) {
        s->size = 0;
        return;
    }
    char* first = nullptr;
    char* last = nullptr;
    forEachCharacter(s, [&](char* p) {
        if (private_str_is_whitespace(*p))
            return;
        first = first != nullptr ? first : p;
        last = p;
    });
    if (first == nullptr)
        return;
    char* textEnd = s->text + private_str_extent(s);
    char* end = std::min(last + private_str_char_bytes(*last), textEnd);
    std::memmove(s->text, first, static_cast<size_t>(end - first));
    s->text[end - first] = 0;
}

void str_simplify_whitespace(str* s) {
    // Each character that is not white space is moved behind the one kept before it, which becomes a blank
    // and leaves the rest of its bytes to be overwritten. What that comes to in the end: a blank for each of
    // them but the last, and the last one's first byte.
    long kept = 0;
    char last = 0;
    forEachCharacter(s, [&](char* p) {
        if (private_str_is_whitespace(*p))
            return;
        ++kept;
        last = *p;
    });
    if (kept == 0)
        return;
    std::fill_n(s->text, kept - 1, ' ');
    s->text[kept - 1] = last;
    s->text[kept] = 0;
}
