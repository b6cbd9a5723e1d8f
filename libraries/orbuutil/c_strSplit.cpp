// Joining, splitting and substituting on the text of a string.

#include "orbuutil/c_memory.h"
#include "orbuutil/c_strPrivate.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

unsigned long count(long bytes) { return static_cast<unsigned long>(bytes); }

long length_of(const char* text) { return static_cast<long>(std::strlen(text)); }

bool begins_with(const char* text, const char* with) {
    return std::strncmp(text, with, std::strlen(with)) == 0;
}

// True when the first occurrence of `separator` stands at the very end of the text. An earlier one hides it:
// hosts depend on that.
bool first_is_last(const char* text, const char* separator) {
    const char* found = std::strstr(text, separator);
    return found != nullptr && found[std::strlen(separator)] == 0;
}

// An operand that stays as it was while the string it may belong to is changed.
class Operand {
public:
    Operand(const str* operand, const str* changed)
        : mCopy(operand != nullptr && operand == changed ? str_dup(operand) : nullptr),
          mOperand(mCopy != nullptr ? mCopy : operand) {}
    ~Operand() { str_uninit(mCopy); }
    Operand(const Operand&) = delete;
    Operand& operator=(const Operand&) = delete;
    const str* get() const { return mOperand; }

private:
    str* mCopy;
    const str* mOperand;
};

// Text that is put together from many parts, in a buffer that doubles.
class Gathered {
public:
    Gathered() : mStr(str_init()) {}
    ~Gathered() { str_uninit(mStr); }
    Gathered(const Gathered&) = delete;
    Gathered& operator=(const Gathered&) = delete;

    void append(const char* text, long bytes) {
        if (mStr != nullptr && mStr->size <= mLength + bytes) {
            private_str_reserve(mStr, std::max(2 * mStr->size, mLength + bytes + 1));
        }
        if (mStr != nullptr && mStr->size > mLength + bytes) {
            mLength = private_str_append(mStr, mLength, text, bytes);
        }
    }

    // Gives a null string the text in a buffer of its exact size and `spare` bytes; without any text it stays
    // null.
    void move_to(str* s, long spare) const {
        if (private_str_text(mStr) != nullptr && private_str_reserve(s, mLength + 1 + spare)) {
            private_str_append(s, 0, mStr->text, mLength);
        }
    }

private:
    str* mStr;
    long mLength = 0;
};

str* part(const char* text, long bytes) { return str_from(text, bytes, STR_UTF8); }

// Hands out the whole text and leaves a null string.
str* take_all(str* s) {
    str* whole = str_from_utf8(s->text);
    str_clear(s);
    return whole;
}

// Removes the first `bytes` bytes.
void drop_front(str* s, long bytes) {
    std::memmove(s->text, s->text + bytes, std::strlen(s->text + bytes) + 1);
}

// Makes room for a text of so many bytes as joining does: two bytes more than the text when it must grow.
bool reserve_for_join(str* s, long total) { return s->size > total || private_str_reserve(s, total + 2); }

} // namespace

// --- joining ---

void str_push(str* s, const str* other, const str* sep) {
    if (s == nullptr || str_empty(other)) {
        return;
    }
    if (s->text == nullptr) {
        str_cpy(other, s);
        return;
    }
    const Operand pushed(other, s);
    const Operand between(sep, s);
    const char* text = private_str_text_or_empty(pushed.get());
    const char* separator = private_str_text_or_empty(between.get());
    long length = str_len(s);
    long bytes = str_len(pushed.get());
    const long separator_bytes = length_of(separator);
    if (!reserve_for_join(s, length + bytes + separator_bytes)) {
        return;
    }
    if (separator_bytes > 0) {
        const char* found = std::strstr(s->text, separator);
        const bool at_end = found != nullptr && found - s->text + separator_bytes == length;
        const bool begins = begins_with(text, separator);
        if (at_end && begins) {
            text += separator_bytes;
            bytes -= separator_bytes;
        } else if (!at_end && !begins) {
            length = private_str_append(s, length, separator, separator_bytes);
        }
    }
    private_str_append(s, length, text, bytes);
}

void str_unshift(str* s, const str* other, const str* sep) {
    if (s == nullptr || str_empty(other)) {
        return;
    }
    if (s->text == nullptr) {
        str_cpy(other, s);
        return;
    }
    const Operand put(other, s);
    const Operand between(sep, s);
    const char* text = private_str_text_or_empty(put.get());
    const char* separator = private_str_text_or_empty(between.get());
    const long length = str_len(s);
    long bytes = str_len(put.get());
    long separator_bytes = length_of(separator);
    if (!reserve_for_join(s, length + bytes + separator_bytes)) {
        return;
    }
    if (separator_bytes > 0) {
        const bool ends = first_is_last(text, separator);
        const bool begins = begins_with(s->text, separator);
        if (ends && begins) {
            bytes -= separator_bytes;
        }
        if (ends || begins) {
            separator_bytes = 0;
        }
    }
    std::memmove(s->text + bytes + separator_bytes, s->text, count(length));
    std::memcpy(s->text, text, count(bytes));
    std::memcpy(s->text + bytes, separator, count(separator_bytes));
    s->text[bytes + separator_bytes + length] = 0;
}

// --- splitting ---

str* str_shift(str* s, const char* set, int* delimiter) {
    char* text = private_str_text(s);
    if (text == nullptr) {
        return nullptr;
    }
    const char* delimiters = set == nullptr ? "" : set;
    const unsigned long before = std::strcspn(text, delimiters);
    const int first = static_cast<signed char>(text[before]);
    str* result = nullptr;
    if (first == 0) {
        result = before == 0 ? nullptr : take_all(s);
    } else {
        const unsigned long run = std::strspn(text + before, delimiters);
        result = part(text, static_cast<long>(before));
        drop_front(s, static_cast<long>(before + run));
    }
    if (delimiter != nullptr) {
        *delimiter = first;
    }
    return result;
}

str* str_pop(str* s, const char* set, int* delimiter) {
    char* text = private_str_text(s);
    if (text == nullptr) {
        return nullptr;
    }
    const auto is_delimiter = [set](char byte) {
        return set != nullptr && std::strchr(set, byte) != nullptr;
    };
    const long length = length_of(text);
    long last = length - 1;
    while (last >= 0 && !is_delimiter(text[last])) {
        --last;
    }
    int found = 0;
    str* result = nullptr;
    if (last >= 0) {
        found = static_cast<signed char>(text[last]);
        result = part(text + last + 1, length - last - 1);
        long first = last;
        while (first > 0 && is_delimiter(text[first - 1])) {
            --first;
        }
        std::memset(text + first, 0, count(last - first + 1));
    } else if (length != 1) {
        result = part(text, length); // the text stays, unlike in str_shift; of one byte nothing is given
    }
    if (delimiter != nullptr) {
        *delimiter = found;
    }
    return result;
}

str* str_shift_str(str* s, const str* sep) {
    char* text = private_str_text(s);
    if (text == nullptr) {
        return nullptr;
    }
    const char* separator = private_str_text(sep);
    const char* found = separator == nullptr ? nullptr : std::strstr(text, separator);
    if (found == nullptr) {
        return take_all(s);
    }
    const long separator_bytes = length_of(separator);
    str* result = part(text, found - text);
    drop_front(s, found - text + separator_bytes);
    return result;
}

str* str_pop_str(str* s, const str* sep) {
    char* text = private_str_text(s);
    if (text == nullptr) {
        return nullptr;
    }
    const char* separator = private_str_text(sep);
    const long length = length_of(text);
    const long separator_bytes = separator == nullptr ? length : length_of(separator);
    for (long at = length - separator_bytes; at > 0; --at) {
        if (std::memcmp(text + at, separator, count(separator_bytes)) == 0) {
            str* result = part(text + at + separator_bytes, length - at - separator_bytes);
            std::memset(text + at, 0, count(s->size - at));
            return result;
        }
    }
    return take_all(s);
}

// --- substituting ---

void str_replace(str* s, const str* from, const str* to) {
    if (private_str_text(s) == nullptr || str_empty(from)) {
        return;
    }
    const Operand wanted(from, s);
    const Operand put(to, s);
    const std::string_view pattern(private_str_text_or_empty(wanted.get()));
    const auto pattern_bytes = static_cast<long>(pattern.size());
    const long put_bytes = str_len(put.get());
    Gathered result;
    long position = 0; // bytes where it is added up, characters where it is walked
    long offset = 0;
    std::string_view text(s->text);
    while (offset >= 0) {
        if (count(offset) > text.size()) { // the walk has jumped across a NUL
            text = std::string_view(s->text, count(offset + length_of(s->text + offset)));
        }
        const std::size_t found = text.find(pattern, count(offset));
        if (found == std::string_view::npos) {
            break;
        }
        const auto match = static_cast<long>(found);
        str* kept = private_str_part(s, offset, match - position);
        result.append(private_str_text_or_empty(kept), str_len(kept));
        result.append(private_str_text_or_empty(put.get()), put_bytes);
        str_uninit(kept);
        const long walked = position;
        position = match + pattern_bytes;
        offset = private_str_offset_from(s, offset, position - walked);
    }
    const long rest = offset < 0 ? 0 : str_len(s) - offset;
    if (rest > 0) {
        result.append(s->text + offset, rest);
    }
    str_clear(s);
    result.move_to(s, rest > 0 ? 1 : 0); // the rest is joined, with the spare byte of joining
}

str* str_replace_all(const str* s, const char* set, const str* join) {
    str* result = str_init();
    str* rest = str_dup(s);
    while (str* piece = str_shift(rest, set, nullptr)) {
        str_push(result, piece, join);
        str_uninit(piece);
    }
    str_uninit(rest);
    return result;
}
