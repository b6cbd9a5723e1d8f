// Runs of ordinary characters between UTF-8 and 16-bit units in machine order, without a check of room for
// each.
//
// They take what is well-formed and below 0x10000 and stop in front of everything else: a NUL, a stray or
// missing continuation byte, a surrogate, a longer form, and the last characters that a full destination or a
// cut source might touch. The loop over single characters deals with that, so that runs never change a
// result. They always leave room. A run also ends after some characters, with true, so that the caller can
// look for whole blocks of ASCII again; false means that it stopped.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

inline constexpr long private_str_run_limit = 256;

struct private_str_place {
    const char* src;
    long srcbytes;
    char* dst;
    long dstbytes;

    void advance(long consumed, long written) {
        src += consumed;
        srcbytes -= consumed;
        dst += written;
        dstbytes -= written;
    }
};

inline bool private_str_run_8_to_16(private_str_place& place) {
    long characters = std::min({place.srcbytes / 3, (place.dstbytes - 1) / 2, private_str_run_limit});
    const auto* from = reinterpret_cast<const unsigned char*>(place.src);
    char* to = place.dst;
    const auto put = [&to](unsigned unit) {
        const auto stored = static_cast<std::uint16_t>(unit);
        std::memcpy(to, &stored, sizeof stored);
        to += sizeof stored;
    };
    const auto continues = [](unsigned byte) { return (byte & 0xC0) == 0x80; };
    bool ordinary = characters > 0;
    for (; characters > 0; --characters) {
        const unsigned lead = from[0];
        if (lead - 1 < 0x7F) {
            put(lead);
            from += 1;
        } else if (lead - 0xE0 < 0x10 && continues(from[1]) && continues(from[2])) {
            const unsigned point = (lead & 0x0F) << 12 | (from[1] & 0x3Fu) << 6 | (from[2] & 0x3Fu);
            if (point == 0 || (point & 0xF800) == 0xD800) {
                ordinary = false;
                break;
            }
            put(point);
            from += 3;
        } else if (lead - 0xC0 < 0x20 && continues(from[1]) && (lead != 0xC0 || from[1] != 0x80)) {
            put((lead & 0x1F) << 6 | (from[1] & 0x3Fu));
            from += 2;
        } else {
            ordinary = false;
            break;
        }
    }
    place.advance(reinterpret_cast<const char*>(from) - place.src, to - place.dst);
    return ordinary;
}

inline bool private_str_run_16_to_8(private_str_place& place) {
    long characters = std::min({place.srcbytes / 2, (place.dstbytes - 1) / 3, private_str_run_limit});
    const char* from = place.src;
    auto* to = reinterpret_cast<unsigned char*>(place.dst);
    bool ordinary = characters > 0;
    for (; characters > 0; --characters) {
        std::uint16_t loaded = 0;
        std::memcpy(&loaded, from, sizeof loaded);
        const unsigned unit = loaded;
        if (unit - 1 < 0x7F) {
            *to++ = static_cast<unsigned char>(unit);
        } else if (unit == 0 || (unit & 0xF800) == 0xD800) {
            ordinary = false;
            break;
        } else if (unit < 0x800) {
            to[0] = static_cast<unsigned char>(0xC0 | unit >> 6);
            to[1] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
            to += 2;
        } else {
            to[0] = static_cast<unsigned char>(0xE0 | unit >> 12);
            to[1] = static_cast<unsigned char>(0x80 | (unit >> 6 & 0x3F));
            to[2] = static_cast<unsigned char>(0x80 | (unit & 0x3F));
            to += 3;
        }
        from += 2;
    }
    place.advance(from - place.src, reinterpret_cast<char*>(to) - place.dst);
    return ordinary;
}
