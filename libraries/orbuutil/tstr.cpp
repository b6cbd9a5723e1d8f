#include "orbuutil/tstr.h"

#include "orbuutil/c_memory.h"
#include "orbuutil/c_strPrivate.h"

#include <cstring>

namespace {

// A cached view: the code of its encoding, directly followed by the converted bytes.
constexpr unsigned long view_header = sizeof(long);

long view_encoding(const void* view) {
    long encoding = 0;
    std::memcpy(&encoding, view, sizeof encoding);
    return encoding;
}

char* view_bytes(void* view) { return static_cast<char*>(view) + view_header; }

str* from_byte(char byte) { return str_from(&byte, byte == 0 ? 0 : 1, STR_UTF8); }

str* from_utf32(unsigned long value) { return str_from(&value, 4, STR_UTF32); }

// A new string with the text of `s` and `other` behind it; null and a null handle count as empty.
str* joined(const str* s, const str* other) {
    const long length = str_len(s);
    const long other_length = str_len(other);
    const long size = s != nullptr ? s->size : 0;
    str* result = private_str_blank(size > length + other_length ? size : length + other_length);
    if (result != nullptr) {
        if (private_str_text(s) != nullptr) {
            std::memcpy(result->text, s->text, static_cast<unsigned long>(size));
        }
        if (other_length > 0) {
            private_str_append(result, length, other->text, other_length);
        }
    }
    return result;
}

TStr adopt(str* made) {
    void* handle = made;
    return TStr(handle);
}

// Bytes in so many units; negative stays negative, which no source has.
long bytes_of(long units, unsigned long unit) {
    return units < 0 ? units : static_cast<long>(static_cast<unsigned long>(units) * unit);
}

// Appends a new string and releases it.
void append_and_release(str* s, str* other) {
    str_cat(s, other);
    str_uninit(other);
}

TStr joined_and_release(const str* s, str* other) {
    str* result = joined(s, other);
    str_uninit(other);
    return adopt(result);
}

} // namespace

// --- construction ---

TStr::TStr() : mHandle(str_init()), mCached(nullptr) {}
TStr::TStr(char ascii) : mHandle(str_from(&ascii, 1, STR_ASCII)), mCached(nullptr) {}
TStr::TStr(unsigned long utf32) : mHandle(from_utf32(utf32)), mCached(nullptr) {}
TStr::TStr(char* utf8) : mHandle(str_from_utf8(utf8)), mCached(nullptr) {}
TStr::TStr(const char* utf8) : mHandle(str_from_utf8(utf8)), mCached(nullptr) {}
TStr::TStr(const void* data, long bytes, long encoding)
    : mHandle(str_from(data, bytes, encoding)), mCached(nullptr) {}
TStr::TStr(const TStr& other) : mHandle(str_dup(other.mHandle)), mCached(nullptr) {}
TStr::TStr(void* const& adopted) : mHandle(static_cast<str*>(adopted)), mCached(nullptr) {}
TStr::TStr(const unsigned short* utf16)
    : mHandle(str_from(utf16, str_utf16_len(utf16), STR_UTF16)), mCached(nullptr) {}
TStr::TStr(const unsigned short* utf16, long units)
    : mHandle(str_from(utf16, bytes_of(units, 2), STR_UTF16)), mCached(nullptr) {}
TStr::TStr(const unsigned long* utf32)
    : mHandle(str_from(utf32, str_utf32_len(utf32), STR_UTF32)), mCached(nullptr) {}
TStr::TStr(const unsigned long* utf32, long units)
    : mHandle(str_from(utf32, bytes_of(units, 8), STR_UTF32)), mCached(nullptr) {}

TStr::~TStr() {
    memory_free(mCached);
    str_uninit(mHandle);
}

TStr& TStr::operator=(const TStr& other) {
    if (this != &other) {
        clearCachedEncoding();
        str_uninit(mHandle);
        mHandle = str_dup(other.mHandle);
    }
    return *this;
}

TStr TStr::fromUcs2(const unsigned short* ucs2) {
    long units = 0;
    while (ucs2 != nullptr && ucs2[units] != 0) {
        ++units;
    }
    return TStr(ucs2, units * 2, STR_UTF16LE);
}

str* TStr::plain() {
    if (mHandle == nullptr) {
        mHandle = str_init();
    }
    return mHandle;
}

// --- state ---

void TStr::clear() {
    clearCachedEncoding();
    str_clear(mHandle);
}

void TStr::clearCachedEncoding() {
    memory_free(mCached);
    mCached = nullptr;
}

long TStr::length() const { return str_len(mHandle); }
bool TStr::isEmpty() const { return str_empty(mHandle) != 0; }

// --- comparing ---

bool TStr::operator==(const TStr& other) const { return str_cmp(mHandle, other.mHandle) == 0; }
bool TStr::operator!=(const TStr& other) const { return str_cmp(mHandle, other.mHandle) != 0; }
bool TStr::operator<(const TStr& other) const { return str_cmp(mHandle, other.mHandle) < 0; }
bool TStr::operator<=(const TStr& other) const { return str_cmp(mHandle, other.mHandle) <= 0; }
bool TStr::operator>(const TStr& other) const { return str_cmp(mHandle, other.mHandle) > 0; }
bool TStr::operator>=(const TStr& other) const { return str_cmp(mHandle, other.mHandle) >= 0; }
bool TStr::operator==(const char* utf8) const { return str_utf8_cmp(mHandle, utf8) == 0; }
bool TStr::operator!=(const char* utf8) const { return str_utf8_cmp(mHandle, utf8) != 0; }
bool TStr::operator<(const char* utf8) const { return str_utf8_cmp(mHandle, utf8) < 0; }
bool TStr::operator<=(const char* utf8) const { return str_utf8_cmp(mHandle, utf8) <= 0; }
bool TStr::operator>(const char* utf8) const { return str_utf8_cmp(mHandle, utf8) > 0; }
bool TStr::operator>=(const char* utf8) const { return str_utf8_cmp(mHandle, utf8) >= 0; }

// --- appending ---

TStr TStr::operator+(const TStr& other) const { return adopt(joined(mHandle, other.mHandle)); }
TStr TStr::operator+(const char* utf8) const { return joined_and_release(mHandle, str_from_utf8(utf8)); }
TStr TStr::operator+(char ascii) const { return joined_and_release(mHandle, str_from(&ascii, 1, STR_ASCII)); }
TStr TStr::operator+(unsigned long utf32) const { return joined_and_release(mHandle, from_utf32(utf32)); }
TStr operator+(const char* utf8, const TStr& s) { return TStr(utf8) + s; }

TStr& TStr::operator+=(const TStr& other) { return cat(other); }

TStr& TStr::operator+=(const char* utf8) {
    append_and_release(plain(), str_from_utf8(utf8)); // before the view goes: it may be that text
    clearCachedEncoding();
    return *this;
}

TStr& TStr::operator+=(char byte) {
    clearCachedEncoding();
    append_and_release(plain(), from_byte(byte));
    return *this;
}

TStr& TStr::operator+=(unsigned long utf32) {
    clearCachedEncoding();
    append_and_release(plain(), from_utf32(utf32));
    return *this;
}

TStr& TStr::cat(const TStr& other) {
    clearCachedEncoding();
    str* s = plain(); // first: `other` may be this
    str_cat(s, other.mHandle);
    return *this;
}

int TStr::operator[](int index) const { return str_at(mHandle, index); }
int TStr::at(int index) const { return str_at(mHandle, index); }

// --- the cached view ---

const void* TStr::asEncoding(long encoding) const {
    if (mHandle == nullptr || !str_is_encoding_implemented(static_cast<unsigned long>(encoding))) {
        return nullptr;
    }
    if (mCached != nullptr && view_encoding(mCached) == encoding) {
        return view_bytes(mCached);
    }
    memory_free(mCached);
    const long length = str_len(mHandle);
    const long need = private_str_requires(mHandle->text, mHandle->size, STR_UTF8, encoding, length);
    mCached = private_str_allocate(static_cast<long>(view_header) + need + 1);
    if (mCached == nullptr) {
        return nullptr;
    }
    std::memcpy(mCached, &encoding, sizeof encoding);
    // What a conversion writes before it fails is the view: the block is zeroed.
    private_str_convert(mHandle->text, length, STR_UTF8, view_bytes(mCached), need + 1, encoding,
                        need + 1 + private_str_padding, nullptr);
    return view_bytes(mCached);
}

TStr::operator const char*() const { return latin1(); }
const char* TStr::latin1() const { return static_cast<const char*>(asEncoding(STR_ASCII)); }
const char* TStr::toUtf8() const { return static_cast<const char*>(asEncoding(STR_UTF8)); }

const unsigned short* TStr::toUtf16() const {
    return static_cast<const unsigned short*>(asEncoding(STR_UTF16));
}

const unsigned short* TStr::toUtf16BE() const {
    return static_cast<const unsigned short*>(asEncoding(STR_UTF16BE));
}

const unsigned short* TStr::toUtf16LE() const {
    return static_cast<const unsigned short*>(asEncoding(STR_UTF16LE));
}

// --- copying out ---

bool TStr::get(void* to, long room, long encoding) const { return str_get(mHandle, to, room, encoding) > 0; }
bool TStr::ascii(void* to, long room) const { return get(to, room, STR_ASCII); }
bool TStr::utf8(void* to, long room) const { return get(to, room, STR_UTF8); }
bool TStr::utf16(void* to, long room) const { return get(to, room, STR_UTF16); }
bool TStr::utf16be(void* to, long room) const { return get(to, room, STR_UTF16BE); }
bool TStr::utf16le(void* to, long room) const { return get(to, room, STR_UTF16LE); }
bool TStr::utf32(void* to, long room) const { return get(to, room, STR_UTF32); }
long TStr::cstr(char* to, long* room) const { return str_cstr(mHandle, to, room); }
char* TStr::cstrn(char* to, long room) const { return str_cstrn(mHandle, to, room); }
char* TStr::utf8_cstrn(char* to, long room) const { return str_utf8_cstrn(mHandle, to, room); }
char* TStr::cstr_alloc() const { return str_cstr_alloc(mHandle); }
char* TStr::utf8_alloc() const { return str_utf8_alloc(mHandle); }
unsigned short* TStr::utf16_alloc() const { return str_utf16_alloc(mHandle); }
unsigned short* TStr::utf16le_alloc() const { return str_utf16le_alloc(mHandle); }
unsigned short* TStr::utf16be_alloc() const { return str_utf16be_alloc(mHandle); }

// --- replacing the text. The source may be the cached view, so that goes last ---

char* TStr::buffer(long bytes) { return str_buffer(plain(), bytes); }

bool TStr::setUtf8(const char* utf8) {
    str_utf8_set(plain(), utf8);
    clearCachedEncoding();
    return true;
}

bool TStr::setUtf16(const unsigned short* utf16, long bytes) {
    str_set(plain(), utf16, bytes, STR_UTF16);
    clearCachedEncoding();
    return true;
}

bool TStr::setUtf16BE(const unsigned short* utf16, long bytes) {
    str_set(plain(), utf16, bytes, STR_UTF16BE);
    clearCachedEncoding();
    return true;
}

bool TStr::setUtf16LE(const unsigned short* utf16, long bytes) {
    str_set(plain(), utf16, bytes, STR_UTF16LE);
    clearCachedEncoding();
    return true;
}

bool TStr::setUtf32(const unsigned long* utf32, long bytes) {
    str_set(plain(), utf32, bytes, STR_UTF32);
    clearCachedEncoding();
    return true;
}

TStr& TStr::setAscii(const char* ascii, int bytes) {
    str_ascii_set(plain(), ascii, bytes);
    clearCachedEncoding();
    return *this;
}

// --- splitting and joining ---

TStr TStr::pop(const TStr& set) {
    clearCachedEncoding();
    return adopt(str_pop(mHandle, private_str_text(set.mHandle), nullptr));
}

TStr TStr::popString(const TStr& separator) {
    clearCachedEncoding();
    return adopt(str_pop_str(mHandle, separator.mHandle));
}

TStr TStr::shift(const TStr& set) {
    clearCachedEncoding();
    return adopt(str_shift(mHandle, private_str_text(set.mHandle), nullptr));
}

TStr TStr::shiftString(const TStr& separator) {
    clearCachedEncoding();
    return adopt(str_shift_str(mHandle, separator.mHandle));
}

void TStr::push(const TStr& other, const TStr& separator) {
    clearCachedEncoding();
    str_push(plain(), other.mHandle, separator.mHandle);
}

void TStr::unshift(const TStr& other, const TStr& separator) {
    clearCachedEncoding();
    str_unshift(plain(), other.mHandle, separator.mHandle);
}

void TStr::replace(const TStr& from, const TStr& to) {
    clearCachedEncoding();
    str_replace(mHandle, from.mHandle, to.mHandle);
}

void TStr::replaceAll(const TStr& set, const TStr& join) {
    clearCachedEncoding();
    str_replace_all(mHandle, private_str_text(set.mHandle), join.mHandle);
}
