// Sizing and conversion: any encoding to any other through one code point at a time. Pairs that are used a
// lot have the same loop with both codecs compiled in and with whole runs of ASCII done at once.

#include "orbuutil/c_memory.h"
#include "orbuutil/c_strCodecPrivate.h"
#include "orbuutil/c_strRunsPrivate.h"

#include <algorithm>

namespace {

bool is_encoding(long encoding) { return static_cast<unsigned long>(encoding) < private_str_encodings; }

bool is_utf16(long encoding) { return encoding >= STR_UTF16 && encoding <= STR_UTF16LE; }

using private_str_runs::Cursor;
using private_str_runs::little_endian_runs;

// --- codecs as types, so that a loop has them inline ---

struct Ascii {
    static constexpr auto decode = private_str_decode_ascii;
    static constexpr auto encode = private_str_encode_ascii;
};

struct Utf8 {
    static constexpr auto decode = private_str_decode_utf8;
    static constexpr auto encode = private_str_encode_utf8;
    static long codelen(private_str_word point) { return private_str_utf8_codelen(point); }
};

struct Utf16 {
    static constexpr auto decode = private_str_decode_utf16;
    static constexpr auto encode = private_str_encode_utf16;
};

struct Utf16LE {
    static constexpr auto decode = private_str_decode_utf16LE;
    static constexpr auto encode = private_str_encode_utf16LE;
    static long codelen(private_str_word point) { return private_str_utf16_codelen(point); }
};

// Any encoding, through its row of the table.
struct ByTable {
    long (*decode)(const char*, long, private_str_word*, private_str_word*);
    long (*encode)(private_str_word, char*, long, private_str_word*);
    long (*codelen)(private_str_word);
};

ByTable row(long encoding) {
    const private_str_encoding& entry = str_encode_map[encoding];
    return {entry.decode, entry.encode, entry.codelen};
}

// --- loops: a run where there is one, then one character ---

constexpr auto no_size_run = [](const char*&, long&) { return 0L; };
constexpr auto no_run = [](Cursor c) { return c; };

template <class From, class To, class Run>
long size_loop(const From& from, const To& to, const char* src, long srcbytes, long need, Run run) {
    private_str_word state = 0;
    const char* run_again = src;
    while (srcbytes > 0) {
        if (src >= run_again) {
            need += run(src, srcbytes);
            run_again = src + 16; // what stopped it is within its next block
            if (srcbytes == 0) {
                break;
            }
        }
        private_str_word point = 0;
        const long consumed = from.decode(src, srcbytes, &point, &state);
        if (consumed == 0) {
            return 0;
        }
        need += to.codelen(point);
        if (point == 0) {
            break;
        }
        src += consumed;
        srcbytes -= consumed;
    }
    return need;
}

struct Outcome {
    bool complete;
    char* end; // behind what was written, without a terminator
};

// The first character goes through the codecs, which may take off or write a mark with it.
template <class From, class To, class Run>
Outcome convert_loop(const From& from, const To& to, Cursor c, Run run) {
    private_str_word from_state = 0;
    private_str_word to_state = 0;
    while (true) {
        private_str_word point = 0;
        const long consumed = from.decode(c.src, c.srcbytes, &point, &from_state);
        if (consumed == 0) {
            return {false, c.dst};
        }
        if (point == 0) {
            return {true, c.dst};
        }
        const long written = to.encode(point, c.dst, c.dstbytes, &to_state);
        if (written == 0) {
            return {false, c.dst};
        }
        c.step(consumed, written);
        c = run(c);
        if (c.srcbytes == 0) {
            return {true, c.dst};
        }
        if (c.dstbytes == 0) {
            private_str_raise(private_str_error_overflow, "to buffer overflow");
            return {false, c.dst};
        }
    }
}

long size_by_table(const char* src, long srcbytes, long srcenc, long dstenc) {
    const private_str_encoding& target = str_encode_map[dstenc];
    // One character of scratch: that memory is exhausted shows in the record before anything is allocated.
    void* scratch = memory_allocate(static_cast<unsigned long>(target.most));
    if (scratch == nullptr) {
        private_str_raise(private_str_error_memory, "could not allocate a buffer to test character width");
    }
    memory_free(scratch);
    return size_loop(row(srcenc), row(dstenc), src, srcbytes, target.terminator, no_size_run);
}

long size_by_decoding(const char* src, long srcbytes, long srcenc, long dstenc) {
    if constexpr (little_endian_runs) {
        if (srcenc == STR_UTF8 && is_utf16(dstenc)) {
            const auto run = [](const char*& from, long& bytes) {
                return 2 * private_str_runs::count_units_of_utf8(from, bytes);
            };
            return size_loop(Utf8{}, Utf16LE{}, src, srcbytes, 2, run);
        }
        if (srcenc == STR_UTF16LE && dstenc == STR_UTF8) {
            return size_loop(Utf16LE{}, Utf8{}, src, srcbytes, 1, private_str_runs::count_bytes_of_utf16);
        }
    }
    if (srcenc == STR_ASCII && dstenc == STR_UTF8) {
        // Every byte is one byte, up to a terminator that is counted as one character more.
        const void* end = srcbytes == 0 ? nullptr : std::memchr(src, 0, static_cast<unsigned long>(srcbytes));
        return 1 + (end == nullptr ? srcbytes : static_cast<const char*>(end) - src + 1);
    }
    return size_by_table(src, srcbytes, srcenc, dstenc);
}

// A stream sizes as what its first byte tells, and the mark does not lessen the count of bytes: behind those
// that are there, a terminator is assumed.
long size_stream(const char* src, long srcbytes, long dstenc) {
    const auto first = srcbytes == 0 ? '\0' : *src;
    const long srcenc = first == '\xFE' ? STR_UTF16BE : STR_UTF16LE;
    if (first != '\xFE' && first != '\xFF') {
        return size_by_decoding(src, srcbytes, srcenc, dstenc);
    }
    const long need =
        size_by_decoding(src + std::min(srcbytes, 2L), std::max(srcbytes - 2, srcbytes % 2), srcenc, dstenc);
    if (need == 0) {
        return 0;
    }
    bool terminated = false;
    for (long i = 2; i + 1 < srcbytes && !terminated; i += 2) {
        terminated = src[i] == 0 && src[i + 1] == 0;
    }
    return terminated ? need : need + str_encode_map[dstenc].codelen(0);
}

// What is common to both ways of sizing.
template <class SizeByDecoding>
long requires_bytes(const char* src, long srcbytes, long srcenc, long dstenc, long srclen,
                    SizeByDecoding size_variable) {
    if (!is_encoding(srcenc) || !is_encoding(dstenc) || srcbytes < 0 || (src == nullptr && srcbytes > 0)) {
        return 0;
    }
    if (srcenc == dstenc) {
        return static_cast<long>(static_cast<unsigned long>(srcbytes) + 1);
    }
    if (str_encode_map[dstenc].variable) {
        return srcenc == STR_UTF16 ? size_stream(src, srcbytes, dstenc)
                                   : size_variable(src, srcbytes, srcenc, dstenc);
    }
    unsigned long units = static_cast<unsigned long>(srcbytes);
    if (srcenc == STR_UTF16 && srcbytes > 0 && (*src == '\xFE' || *src == '\xFF')) {
        // A stream is measured in the order that its first byte tells, behind its mark.
        srcenc = *src == '\xFE' ? STR_UTF16BE : STR_UTF16LE;
        src += std::min(srcbytes, 2L);
    }
    if (str_encode_map[srcenc].variable) {
        units = static_cast<unsigned long>(srclen >= 0 ? srclen : str_encode_map[srcenc].len(src));
    }
    return static_cast<long>((units + 1) * static_cast<unsigned long>(str_encode_map[srcenc].unit) /
                             static_cast<unsigned long>(str_encode_map[dstenc].unit));
}

Outcome convert_by_table(const Cursor& c, long srcenc, long dstenc) {
    return convert_loop(row(srcenc), row(dstenc), c, no_run);
}

Outcome convert(const Cursor& c, long srcenc, long dstenc) {
    if constexpr (little_endian_runs) {
        if (srcenc == STR_UTF8 && dstenc == STR_UTF16LE) {
            return convert_loop(Utf8{}, Utf16LE{}, c, private_str_runs::utf8_to_utf16);
        }
        if (srcenc == STR_UTF8 && dstenc == STR_UTF16) {
            return convert_loop(Utf8{}, Utf16{}, c, private_str_runs::utf8_to_utf16);
        }
        if (srcenc == STR_UTF16LE && dstenc == STR_UTF8) {
            return convert_loop(Utf16LE{}, Utf8{}, c, private_str_runs::utf16_to_utf8);
        }
        if (srcenc == STR_UTF16 && dstenc == STR_UTF8) {
            return convert_loop(Utf16{}, Utf8{}, c, private_str_runs::utf16_to_utf8);
        }
        if (srcenc == STR_UTF8 && dstenc == STR_ASCII) {
            return convert_loop(Utf8{}, Ascii{}, c, private_str_runs::ascii_to_ascii);
        }
        if (srcenc == STR_ASCII && dstenc == STR_UTF8) {
            return convert_loop(Ascii{}, Utf8{}, c, private_str_runs::ascii_to_ascii);
        }
    }
    return convert_by_table(c, srcenc, dstenc);
}

// What is common to both ways of converting.
template <class Convert>
int encode(const char* src, long srcbytes, long srcenc, char* dst, long dstbytes, long dstenc, long hard_room,
           char** stopped, Convert convert_text) {
    if (stopped != nullptr) {
        *stopped = dst;
    }
    if (!is_encoding(srcenc) || !is_encoding(dstenc) || dst == nullptr || srcbytes < 0 || dstbytes < 0 ||
        (src == nullptr && srcbytes > 0)) {
        return 0;
    }
    if (srcenc == dstenc) {
        const long bytes = std::min(srcbytes, dstbytes);
        if (bytes > 0) {
            std::memmove(dst, src, static_cast<unsigned long>(bytes));
        }
        if (stopped != nullptr) {
            *stopped = dst + bytes;
        }
        return 1;
    }
    Outcome outcome{true, dst};
    if (srcbytes > 0 && dstbytes > 0) {
        outcome = convert_text(Cursor{src, srcbytes, dst, dstbytes}, srcenc, dstenc);
    }
    if (stopped != nullptr) {
        *stopped = outcome.end;
    }
    if (!outcome.complete) {
        return 0;
    }
    const long terminator = std::min(str_encode_map[dstenc].terminator, hard_room - (outcome.end - dst));
    std::memset(outcome.end, 0, static_cast<unsigned long>(std::max(terminator, 0L)));
    return 1;
}

constexpr long no_bound = 0x7FFFFFFFFFFFFFFF;

} // namespace

long private_str_requires(const void* src, long srcbytes, long srcenc, long dstenc, long srclen) {
    return requires_bytes(static_cast<const char*>(src), srcbytes, srcenc, dstenc, srclen, size_by_decoding);
}

long private_str_requires_by_table(const void* src, long srcbytes, long srcenc, long dstenc) {
    return requires_bytes(static_cast<const char*>(src), srcbytes, srcenc, dstenc, -1, size_by_table);
}

int private_str_convert(const void* src, long srcbytes, long srcenc, void* dst, long dstbytes, long dstenc,
                        long hard_room, char** stopped) {
    return encode(static_cast<const char*>(src), srcbytes, srcenc, static_cast<char*>(dst), dstbytes, dstenc,
                  hard_room, stopped, convert);
}

int private_str_convert_by_table(const void* src, long srcbytes, long srcenc, void* dst, long dstbytes,
                                 long dstenc) {
    return encode(static_cast<const char*>(src), srcbytes, srcenc, static_cast<char*>(dst), dstbytes, dstenc,
                  no_bound, nullptr, convert_by_table);
}

long str_encoding_requires_bytes(const void* src, long srcbytes, long srcenc, long dstenc) {
    return private_str_requires(src, srcbytes, srcenc, dstenc, -1);
}

int str_encode(const void* src, long srcbytes, long srcenc, void* dst, long dstbytes, long dstenc) {
    return private_str_convert(src, srcbytes, srcenc, dst, dstbytes, dstenc, no_bound, nullptr);
}

char* private_str_allocate(long bytes) {
    return bytes < 0 ? nullptr
                     : static_cast<char*>(memory_allocate(static_cast<unsigned long>(bytes) +
                                                          static_cast<unsigned long>(private_str_padding)));
}
