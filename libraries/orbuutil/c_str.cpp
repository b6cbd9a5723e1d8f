// The text of a string: its buffer, setting and copying, walks, appending, copying out.

#include "orbuutil/c_memory.h"
#include "orbuutil/c_strPrivate.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

unsigned long count(long bytes) { return static_cast<unsigned long>(bytes); }

// A text of at most so many bytes lies in the block of its object when that is made with it.
constexpr long most_inline = 256;

char* inline_text(str* s) { return reinterpret_cast<char*>(s + 1); }

void release_text(str* s, char* text) {
    if (text != inline_text(s)) {
        memory_free(text);
    }
}

// Where a walk ends at the latest: at the terminator of the buffer, or at its end if it was written full.
long walk_limit(const str* s) { return s->text[s->size - 1] == 0 ? s->size - 1 : s->size; }

bool is_ascii_word(const char* text) {
    std::uint64_t word = 0;
    std::memcpy(&word, text, sizeof word);
    constexpr std::uint64_t ones = 0x0101010101010101;
    return ((word | (word - ones)) & (ones << 7)) == 0;
}

// Walks at most `chars` characters from byte `*offset` on; gives those it could walk and sets the byte offset
// reached.
long walk(const str* s, long chars, long* offset) {
    const char* text = private_str_text(s);
    long walked = 0;
    long at = *offset;
    if (text != nullptr) {
        const long limit = walk_limit(s);
        while (walked < chars && at < limit && text[at] != 0) {
            while (chars - walked >= 8 && limit - at >= 8 && is_ascii_word(text + at)) {
                at += 8;
                walked += 8;
            }
            if (walked < chars && at < limit && text[at] != 0) {
                at += private_str_char_bytes(text[at]);
                walked += 1;
            }
        }
        at = std::min(at, limit);
    }
    *offset = at;
    return walked;
}

constexpr long all_chars = 0x7FFFFFFFFFFFFFFF;

// The bytes of the first `chars` characters of a terminated text.
long raw_walk(const char* text, long chars) {
    const char* at = text;
    for (; chars > 0 && *at != 0; --chars) {
        const long bytes = private_str_char_bytes(*at);
        // A NUL inside ends the text, whatever the lead byte says.
        const void* end = bytes == 1 ? nullptr : std::memchr(at, 0, count(bytes));
        if (end != nullptr) {
            return static_cast<const char*>(end) - text;
        }
        at += bytes;
    }
    return at - text;
}

bool overlaps(const str* s, const void* data, long bytes) {
    const auto from = reinterpret_cast<std::uintptr_t>(data);
    const auto text = reinterpret_cast<std::uintptr_t>(s->text);
    return s->text != nullptr && data != nullptr && from < text + count(s->size + private_str_padding) &&
           text < from + count(bytes);
}

long raw_length(const char* text) { return text == nullptr ? 0 : static_cast<long>(std::strlen(text)); }

} // namespace

// --- buffers ---

str* private_str_blank(long bytes) {
    if (bytes < 0 || bytes >= most_inline) {
        str* s = str_init();
        if (s != nullptr && !private_str_reserve(s, static_cast<long>(count(bytes) + 1))) {
            str_uninit(s);
            return nullptr;
        }
        return s;
    }
    auto* s = static_cast<str*>(
        static_cast<void*>(private_str_allocate(static_cast<long>(sizeof(str)) + bytes + 1)));
    if (s != nullptr) {
        s->text = inline_text(s);
        s->size = bytes + 1;
    }
    return s;
}

void private_str_free_text(str* s) {
    release_text(s, s->text);
    s->text = nullptr;
    s->size = 0;
}

bool private_str_reserve(str* s, long size_needed) {
    if (s->size >= size_needed) {
        return size_needed >= 0;
    }
    char* text = private_str_allocate(size_needed);
    if (text == nullptr) {
        return false;
    }
    if (s->text != nullptr) {
        std::memcpy(text, s->text, count(s->size));
        release_text(s, s->text);
    }
    s->text = text;
    s->size = size_needed;
    return true;
}

long private_str_offset(const str* s, long chars) { return private_str_offset_from(s, 0, chars); }

long private_str_offset_from(const str* s, long start, long chars) {
    return walk(s, chars, &start) < chars ? -1 : start;
}

long private_str_append(str* s, long length, const char* text, long bytes) {
    if (s->size <= length + bytes) {
        char* grown = private_str_allocate(length + bytes + 1);
        if (grown == nullptr) {
            return length;
        }
        if (s->text != nullptr) {
            std::memcpy(grown, s->text, count(s->size));
        }
        std::memcpy(grown + length, text, count(bytes)); // before the old buffer goes: it may lie in there
        release_text(s, s->text);
        s->text = grown;
        s->size = length + bytes + 1;
    } else {
        std::memmove(s->text + length, text, count(bytes));
    }
    s->text[length + bytes] = 0;
    return length + bytes;
}

str* private_str_part(const str* s, long offset, long bytes) {
    str* part = private_str_blank(bytes);
    if (part != nullptr) {
        std::memcpy(part->text, s->text + offset, count(std::min(bytes, s->size - offset)));
    }
    return part;
}

// --- making and setting ---

str* str_init() { return static_cast<str*>(memory_allocate(sizeof(str))); }

str* str_from(const void* data, long bytes, long encoding) {
    if (encoding == STR_UTF8 && data != nullptr && bytes >= 0) {
        str* s = private_str_blank(bytes);
        if (private_str_text(s) != nullptr) {
            std::memcpy(s->text, data, count(bytes));
        }
        return s;
    }
    const long need = private_str_requires(data, bytes, encoding, STR_UTF8, -1);
    if (need == 0) {
        return str_init();
    }
    str* s = private_str_blank(need - 1);
    if (s != nullptr) {
        private_str_convert(data, bytes, encoding, s->text, s->size, STR_UTF8, s->size, nullptr);
    }
    return s;
}

str* str_from_utf8(const char* utf8) {
    if (utf8 == nullptr) {
        return str_init();
    }
    const long bytes = raw_length(utf8);
    str* s = private_str_blank(bytes);
    if (s != nullptr) {
        std::memcpy(s->text, utf8, count(bytes));
    }
    return s;
}

str* str_from_cstr(const char* cstr) {
    return cstr == nullptr ? str_init() : str_from(cstr, raw_length(cstr), STR_ASCII);
}

int private_str_set(str* s, const void* data, long bytes, long encoding) {
    if (s == nullptr || !str_is_encoding_implemented(static_cast<unsigned long>(encoding))) {
        return 1;
    }
    const long need = private_str_requires(data, bytes, encoding, STR_UTF8, -1);
    if (need == 0) {
        private_str_free_text(s);
        return 1;
    }
    char* text = s->text;
    long size = s->size;
    if (need > size) {
        text = private_str_allocate(need);
        size = text == nullptr ? 0 : need;
    }
    char* copy = nullptr;
    if (text == s->text && encoding != STR_UTF8 && overlaps(s, data, bytes)) {
        // Converting the string's own text in place could overtake what is still to be read.
        copy = private_str_allocate(bytes);
        if (copy == nullptr) {
            return 1;
        }
        data = std::memcpy(copy, data, count(bytes));
    }
    if (text != nullptr) {
        private_str_convert(data, bytes, encoding, text, size, STR_UTF8, size, nullptr);
    }
    memory_free(copy);
    if (text != s->text) {
        release_text(s, s->text);
        s->text = text;
        s->size = size;
    }
    return 1;
}

int str_set(str* s, const void* data, long bytes, long encoding) {
    return private_str_set(s, data, bytes, encoding);
}

int str_utf8_set(str* s, const char* utf8) {
    // Without a text the sizing fails, and the string ends up null.
    return private_str_set(s, utf8, utf8 == nullptr ? -1 : raw_length(utf8), STR_UTF8);
}

int str_ascii_set(str* s, const char* ascii, int bytes) {
    return private_str_set(s, ascii, bytes == -1 && ascii != nullptr ? raw_length(ascii) : bytes, STR_ASCII);
}

int str_clear(str* s) {
    if (s != nullptr) {
        private_str_free_text(s);
    }
    return 1;
}

void str_uninit(str* s) {
    if (s != nullptr) {
        release_text(s, s->text);
        memory_free(s);
    }
}

str* str_dup(const str* s) {
    if (s == nullptr) {
        return nullptr;
    }
    str* copy = private_str_blank(s->size);
    if (copy != nullptr && s->text != nullptr) {
        std::memcpy(copy->text, s->text, count(s->size));
    }
    return copy;
}

long str_cpy(const str* from, str* to) {
    if (to == nullptr) {
        return 0;
    }
    if (private_str_text(from) == nullptr) {
        str_clear(to);
        return 0;
    }
    const long bytes = from->size;
    if (!private_str_reserve(to, to->size > bytes ? to->size : bytes + 1)) {
        return raw_length(to->text);
    }
    std::memmove(to->text, from->text, count(bytes));
    return raw_length(to->text);
}

char* str_buffer(str* s, long bytes) {
    if (s == nullptr) {
        return nullptr;
    }
    if (s->size < bytes && !private_str_reserve(s, static_cast<long>(count(bytes) + 1))) {
        return nullptr;
    }
    return s->text;
}

// --- measuring ---

long str_len(const str* s) {
    const char* text = private_str_text(s);
    if (text == nullptr) {
        return 0;
    }
    // The walk ends at the first NUL unless a character begins shortly before it and jumps across.
    const long limit = walk_limit(s);
    const void* nul = limit > 0 ? std::memchr(text, 0, count(limit)) : text;
    const long end = nul == nullptr ? limit : static_cast<const char*>(nul) - text;
    for (long back = 1; back <= 5 && back <= end; ++back) {
        if (private_str_char_bytes(text[end - back]) > back) {
            long offset = 0;
            walk(s, all_chars, &offset);
            return offset;
        }
    }
    return end;
}

long str_utf8_char_count(const str* s) {
    long offset = 0;
    return walk(s, all_chars, &offset);
}

int str_empty(const str* s) { return *private_str_text_or_empty(s) == 0 ? 1 : 0; }

// --- comparing ---

int str_utf8_cmp(const str* s, const char* utf8) {
    const char* text = private_str_text(s);
    if (text == nullptr || utf8 == nullptr) {
        return text != nullptr ? 1 : utf8 != nullptr ? -1 : 0;
    }
    return std::strcmp(text, utf8);
}

int str_cmp(const str* a, const str* b) { return str_utf8_cmp(a, private_str_text(b)); }

int str_ascii_cmp(const str* s, const char* ascii) { return str_utf8_cmp(s, ascii); }

// --- appending and cutting ---

long str_cat(str* s, const str* other) {
    if (s == nullptr) {
        return 0;
    }
    const long length = str_len(s);
    const char* text = private_str_text(other);
    if (text == nullptr) {
        return length;
    }
    if (s->size == 0) {
        private_str_set(s, text, raw_length(text), STR_UTF8);
        return str_len(s);
    }
    return *text == 0 ? length : private_str_append(s, length, text, str_len(other));
}

long str_cat_utf8_limit(str* s, const char* utf8, int limit) {
    if (s == nullptr) {
        return 0;
    }
    const long length = str_len(s);
    if (utf8 == nullptr) {
        return length;
    }
    if (s->size == 0) {
        private_str_set(s, utf8, raw_length(utf8), STR_UTF8);
        str_truncate(s, limit);
        return str_len(s);
    }
    return *utf8 == 0 ? length : private_str_append(s, length, utf8, raw_walk(utf8, limit));
}

void str_truncate(str* s, int n) {
    const long offset = private_str_offset(s, n);
    if (offset >= 0 && private_str_text(s) != nullptr) {
        s->text[offset] = 0;
    }
}

str* str_mid(const str* s, long start, int bytes) {
    const long offset = private_str_offset(s, start);
    if (private_str_text(s) == nullptr || offset < 0) {
        return nullptr;
    }
    return private_str_part(s, offset, bytes < 0 ? str_len(s) - offset : bytes);
}

int str_at(const str* s, int index) {
    if (index < 0 || index >= str_len(s)) {
        return 0;
    }
    const long offset = private_str_offset(s, index);
    return offset < 0 ? 0 : static_cast<signed char>(s->text[offset]);
}

// --- copying out ---

namespace {

// One byte a character into `to`, which has room for the byte length and a terminator.
void copy_ascii(const str* s, long length, char* to) {
    char* end = to;
    private_str_convert(s->text, length, STR_UTF8, to, length + 1, STR_ASCII, length + 1, &end);
    *end = 0; // a character that is cut short ends the copy
}

// New buffer in one of the 16-bit forms. What stops the conversion leaves what was written up to there.
unsigned short* units_alloc(const str* s, long encoding, bool mark) {
    if (s == nullptr) {
        return nullptr;
    }
    const long need = private_str_requires(s->text, s->size, STR_UTF8, encoding, -1);
    char* units = need == 0 ? nullptr : private_str_allocate(need);
    if (units != nullptr) {
        private_str_convert(s->text, s->size, STR_UTF8, units, need, encoding, need, nullptr);
        if (mark && need > 2 && units[0] == 0 && units[1] == 0) {
            const unsigned short order = 0xFEFF; // also in front of an empty text
            std::memcpy(units, &order, sizeof order);
        }
    }
    return static_cast<unsigned short*>(static_cast<void*>(units));
}

} // namespace

char* str_cstrn(const str* s, char* dst, long room) {
    if (private_str_text(s) == nullptr) {
        if (room > 0) {
            *dst = 0;
        }
        return dst;
    }
    const long length = str_len(s);
    if (length + 2 <= room) {
        copy_ascii(s, length, dst);
    }
    return dst;
}

long str_cstr(const str* s, char* dst, long* room) {
    const long length = str_len(s);
    if (private_str_text(s) == nullptr) {
        if (*room > 0) {
            *dst = 0;
        }
        return 0;
    }
    if (length + 2 > *room) {
        *room = length + 2;
        return 0;
    }
    copy_ascii(s, length, dst);
    return length + 1;
}

char* str_utf8_cstrn(const str* s, char* dst, long room) {
    if (private_str_text(s) == nullptr) {
        if (room > 0) {
            *dst = 0;
        }
    } else if (s->size + 2 <= room) {
        std::memcpy(dst, s->text, count(s->size));
    }
    return dst;
}

char* str_utf8_alloc(const str* s) {
    if (s == nullptr) {
        return nullptr;
    }
    char* copy = private_str_allocate(s->size + 1);
    if (copy != nullptr && s->text != nullptr) {
        std::memcpy(copy, s->text, count(s->size));
    }
    return copy;
}

char* str_cstr_alloc(const str* s) {
    if (s == nullptr) {
        return nullptr;
    }
    const long length = str_len(s);
    char* copy = private_str_allocate(length + 1);
    if (copy != nullptr) {
        copy_ascii(s, length, copy);
    }
    return copy;
}

unsigned short* str_utf16_alloc(const str* s) { return units_alloc(s, STR_UTF16, true); }
unsigned short* str_utf16le_alloc(const str* s) { return units_alloc(s, STR_UTF16LE, false); }
unsigned short* str_utf16be_alloc(const str* s) { return units_alloc(s, STR_UTF16BE, false); }

long str_get(const str* s, void* dst, long room, long encoding) {
    const char* text = private_str_text(s);
    const long size = text == nullptr ? 0 : s->size;
    const long need = private_str_requires(text, size, STR_UTF8, encoding, str_len(s));
    if (!str_is_encoding_implemented(static_cast<unsigned long>(encoding)) || need > room || room < 0) {
        return 0;
    }
    private_str_convert(text, size, STR_UTF8, dst, room, encoding, room, nullptr);
    return need;
}

void* str_alloc(const str* s, long encoding) {
    if (s == nullptr) {
        return nullptr;
    }
    const long need = private_str_requires(s->text, s->size, STR_UTF8, encoding, str_len(s));
    char* copy = need == 0 ? nullptr : private_str_allocate(need);
    if (copy != nullptr) {
        private_str_convert(s->text, s->size, STR_UTF8, copy, need, encoding, need + private_str_padding,
                            nullptr);
    }
    return copy;
}
