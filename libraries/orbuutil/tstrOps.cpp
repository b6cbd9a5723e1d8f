#include "orbuutil/c_stropsPrivate.h"
#include "orbuutil/tstr.h"

namespace {

TStr adopt(str* result) { return TStr(static_cast<void*>(result)); }

// A changed copy.
template <typename Change>
TStr changed(const TStr& s, Change change) {
    str* copy = str_dup(s.handle());
    change(copy);
    return adopt(copy);
}

// Runs a plain parser and hands its flag on to a member's.
template <typename Parse>
auto parsed(bool* ok, Parse parse) {
    int done = 0;
    const auto value = parse(&done);
    if (ok != nullptr)
        *ok = done == 1;
    return value;
}

} // namespace

bool TStr::isNull() const { return str_null(mHandle) != 0; }

unsigned long TStr::hash() const { return str_hash(mHandle); }

long TStr::utf8CharCount() const { return str_utf8_char_count(mHandle); }

TStr TStr::left(int characters) const { return adopt(str_left(mHandle, characters)); }

TStr TStr::right(int characters) const { return adopt(str_right(mHandle, characters)); }

TStr TStr::mid(int start, int bytes) const { return adopt(str_mid(mHandle, start, bytes)); }

void TStr::truncate(int characters) {
    clearCachedEncoding();
    str_truncate(mHandle, characters);
}

int TStr::find(const char* utf8, long start, bool caseSensitive) const {
    return str_utf8_find(mHandle, utf8, start, caseSensitive ? 1 : 0);
}

int TStr::find(const TStr& other, long start, bool caseSensitive) const {
    return str_find(mHandle, other.mHandle, start, caseSensitive ? 1 : 0);
}

int TStr::find(char byte, long start, bool caseSensitive) const {
    const char text[] = {byte, 0};
    return find(text, start, caseSensitive);
}

int TStr::findSpan(const TStr& open, const TStr& close, int* length, int start) const {
    return str_find_span(mHandle, private_str_text(open.mHandle), private_str_text(close.mHandle), length,
                         start);
}

TStr TStr::number(int value, int base) { return adopt(str_from_int(value, base)); }

TStr TStr::number(long value, int base) { return adopt(str_from_huge(value, base)); }

TStr TStr::number(double value, char format, int precision) {
    return adopt(str_from_double(format, precision, value));
}

int TStr::toInt(bool* ok, int base) const {
    return parsed(ok, [&](int* done) { return str_to_int(mHandle, done, base); });
}

long TStr::toLong(bool* ok, int base) const {
    return parsed(ok, [&](int* done) { return str_to_long(mHandle, done, base); });
}

float TStr::toFloat(bool* ok) const {
    return parsed(ok, [&](int* done) { return str_to_float(mHandle, done); });
}

double TStr::toDouble(bool* ok) const {
    return parsed(ok, [&](int* done) { return str_to_double(mHandle, done); });
}

TStr TStr::arg(const TStr& text, int width, char fill) {
    clearCachedEncoding();
    return adopt(str_arg_str(mHandle, text.mHandle, width, fill));
}

TStr TStr::arg(char ascii, int width, char fill) {
    clearCachedEncoding();
    return adopt(str_arg_char(mHandle, ascii, width, fill));
}

TStr TStr::arg(int value, int width, int base, char fill) {
    clearCachedEncoding();
    return adopt(str_arg_int(mHandle, value, width, base, fill));
}

TStr TStr::arg(long value, int width, int base, char fill) {
    clearCachedEncoding();
    return adopt(str_arg_long(mHandle, value, width, base, fill));
}

TStr TStr::arg(double value, int width, char format, int precision, char fill) {
    clearCachedEncoding();
    return adopt(str_arg_double(mHandle, width, format, precision, fill, value));
}

TStr TStr::arg(float value, int width, char format, int precision, char fill) {
    clearCachedEncoding();
    return adopt(str_arg_float(mHandle, width, format, precision, fill, value));
}

TStr TStr::upper() const { return changed(*this, str_upper); }

TStr TStr::lower() const { return changed(*this, str_lower); }

TStr TStr::stripWhiteSpace() const { return changed(*this, str_strip_whitespace); }

TStr TStr::simplifyWhiteSpace() const { return changed(*this, str_simplify_whitespace); }

TStr TStr::collapse(const TStr& set) const {
    return changed(*this, [&](str* copy) { str_collapse(copy, private_str_text(set.mHandle)); });
}

TStr TStr::expand() const { return changed(*this, str_expand); }
