// The table of encodings, the error record and the lengths of raw sources.

#include "orbuutil/c_strCodecPrivate.h"

constinit long str_last_error_code = 0;
constinit const char* str_last_error_text = nullptr;
constinit const char* str_last_error_file = nullptr;
constinit long str_last_error_line = 0;

void private_str_raise(long code, const char* text, const char* file, long line) {
    str_last_error_code = code;
    str_last_error_text = text;
    str_last_error_file = file;
    str_last_error_line = line;
}

long str_error_code() { return str_last_error_code; }
const char* str_error_text() { return str_last_error_text; }
const char* str_error_file() { return str_last_error_file; }
long str_error_line() { return str_last_error_line; }

void private_str_refuse_unit(long bytes, private_str_word unit) {
    if (bytes < 2) {
        // Names the big-endian decoder for all three: readers of logs know it so.
        private_str_raise(private_str_error_overflow, "from buffer overflow in private_str_decode_utf16BE");
    } else if (unit >= 0xDC00) {
        private_str_raise(private_str_error_surrogate, "unpaired low surrogate");
    } else if (bytes > 3) {
        private_str_raise(private_str_error_surrogate, "unpaired high surrogate");
    } else {
        private_str_raise(private_str_error_overflow, "from buffer overflow");
    }
}

// --- lengths ---

long private_str_ascii_len(const char* source) {
    return source == nullptr ? 0 : static_cast<long>(std::strlen(source));
}

// A walk by lead bytes that ends at the first NUL, also inside a character that is cut short by it: whatever
// the lead bytes say, that is where the NUL stands.
long private_str_utf8_len(const char* source) { return private_str_ascii_len(source); }

namespace {

template <std::endian Order>
long units_len(const char* source) {
    if (source == nullptr) {
        return 0;
    }
    long bytes = 0;
    while (const private_str_word unit = private_str_load16<Order>(source)) {
        bytes += (unit & 0xD800) == 0xD800 ? 4 : 2; // generous: one unit is stepped over all the same
        source += 2;
    }
    return bytes;
}

} // namespace

long private_str_utf16be_len(const char* source) { return units_len<std::endian::big>(source); }
long private_str_utf16le_len(const char* source) { return units_len<std::endian::little>(source); }

long private_str_utf16_len(const char* source) {
    if (source == nullptr) {
        return 0;
    }
    const private_str_word first = private_str_load16<std::endian::little>(source);
    const bool marked = first == private_str_mark || first == 0xFFFE;
    return units_len<std::endian::little>(marked ? source + 2 : source);
}

long private_str_utf32_len(const char* source) {
    long units = 0;
    private_str_word unit = 0;
    while (source != nullptr) {
        std::memcpy(&unit, source, sizeof unit);
        if (unit == 0) {
            break;
        }
        units += 1;
        source += sizeof unit;
    }
    return units;
}

long str_utf8_len(const char* utf8) { return private_str_utf8_len(utf8); }
long str_utf16_len(const void* utf16) { return private_str_utf16_len(static_cast<const char*>(utf16)); }
long str_utf16be_len(const void* utf16be) {
    return private_str_utf16be_len(static_cast<const char*>(utf16be));
}
long str_utf16le_len(const void* utf16le) {
    return private_str_utf16le_len(static_cast<const char*>(utf16le));
}
long str_utf32_len(const void* utf32) { return private_str_utf32_len(static_cast<const char*>(utf32)); }

// --- the table ---

constinit const private_str_encoding str_encode_map[private_str_encodings] = {
    {1, 1, 1, false, private_str_encode_ascii, private_str_decode_ascii, nullptr, private_str_ascii_len},
    {1, 6, 1, true, private_str_encode_utf8, private_str_decode_utf8, private_str_utf8_codelen,
     private_str_utf8_len},
    {2, 4, 2, true, private_str_encode_utf16, private_str_decode_utf16, private_str_utf16_codelen,
     private_str_utf16_len},
    {2, 4, 2, true, private_str_encode_utf16BE, private_str_decode_utf16BE, private_str_utf16_codelen,
     private_str_utf16be_len},
    {2, 4, 2, true, private_str_encode_utf16LE, private_str_decode_utf16LE, private_str_utf16_codelen,
     private_str_utf16le_len},
    {4, 4, 4, false, private_str_encode_utf32, private_str_decode_utf32, nullptr, private_str_utf32_len},
};

bool str_is_encoding_implemented(unsigned long encoding) { return encoding < private_str_encodings; }
