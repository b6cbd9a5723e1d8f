#include "rows.h"

#include "orbuutil/c_str.h"

#include <benchmark/benchmark.h>
#include <iconv.h>

#include <stdexcept>
#include <vector>

#ifdef ORBU_PEER_ICU
#include <unicode/ustring.h>
#endif

namespace {

// All of them convert into a buffer that is there and large enough.
struct Texts {
    std::string utf8;
    std::vector<char> utf16;
    std::vector<char> room;
};

std::vector<char> convert(const char* to, const char* from, std::vector<char> source) {
    std::vector<char> result(source.size() * 4 + 16);
    iconv_t converter = iconv_open(to, from);
    char* in = source.data();
    size_t inLeft = source.size();
    char* out = result.data();
    size_t outLeft = result.size();
    if (iconv(converter, &in, &inLeft, &out, &outLeft) == static_cast<size_t>(-1)) {
        throw std::runtime_error("the sample text does not convert");
    }
    iconv_close(converter);
    result.resize(result.size() - outLeft);
    return result;
}

void ours(benchmark::State& state, const Texts& texts, bool forward) {
    std::vector<char> room(texts.room);
    for (auto _ : state) {
        const int done = forward
                             ? str_encode(texts.utf8.data(), static_cast<long>(texts.utf8.size()), STR_UTF8,
                                          room.data(), static_cast<long>(room.size()), STR_UTF16LE)
                             : str_encode(texts.utf16.data(), static_cast<long>(texts.utf16.size()),
                                          STR_UTF16LE, room.data(), static_cast<long>(room.size()), STR_UTF8);
        if (done != 1) {
            state.SkipWithError("conversion failed");
            break;
        }
        benchmark::DoNotOptimize(room.data());
    }
}

void withIconv(benchmark::State& state, const Texts& texts, bool forward) {
    std::vector<char> source(texts.utf8.begin(), texts.utf8.end());
    if (!forward) {
        source = texts.utf16;
    }
    std::vector<char> room(texts.room);
    iconv_t converter = forward ? iconv_open("UTF-16LE", "UTF-8") : iconv_open("UTF-8", "UTF-16LE");
    for (auto _ : state) {
        char* in = source.data();
        size_t inLeft = source.size();
        char* out = room.data();
        size_t outLeft = room.size();
        benchmark::DoNotOptimize(iconv(converter, &in, &inLeft, &out, &outLeft));
        benchmark::DoNotOptimize(room.data());
    }
    iconv_close(converter);
}

#ifdef ORBU_PEER_ICU
void withIcu(benchmark::State& state, const Texts& texts, bool forward) {
    std::vector<UChar> units(texts.utf16.size() / 2 + 8);
    std::vector<char> room(texts.room);
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8(units.data(), static_cast<int32_t>(units.size()), &length, texts.utf8.data(),
                  static_cast<int32_t>(texts.utf8.size()), &error);
    for (auto _ : state) {
        int32_t written = 0;
        if (forward) {
            u_strFromUTF8(units.data(), static_cast<int32_t>(units.size()), &written, texts.utf8.data(),
                          static_cast<int32_t>(texts.utf8.size()), &error);
        } else {
            u_strToUTF8(room.data(), static_cast<int32_t>(room.size()), &written, units.data(), length,
                        &error);
        }
        benchmark::DoNotOptimize(written);
        benchmark::DoNotOptimize(room.data());
    }
}
#endif

} // namespace

void registerUnicodeRows() {
    for (const bool forward : {true, false}) {
        for (const char* kind : {"ascii", "latin", "cjk"}) {
            for (const unsigned long bytes : {64UL, 64UL * 1024}) {
                Texts texts;
                texts.utf8 = sampleText(kind, bytes);
                texts.utf16 = convert("UTF-16LE", "UTF-8", {texts.utf8.begin(), texts.utf8.end()});
                texts.room.resize(4 * bytes + 64);
                const std::string row = std::string(forward ? "utf8_to_utf16" : "utf16_to_utf8") + "/" +
                                        kind + (bytes == 64 ? "/64" : "/64k");
                const auto add = [&](const char* who, void (*run)(benchmark::State&, const Texts&, bool)) {
                    benchmark::RegisterBenchmark(
                        (row + "/" + who).c_str(),
                        [run, texts, forward](benchmark::State& state) { run(state, texts, forward); });
                };
                add("ours", ours);
                add("iconv", withIconv);
#ifdef ORBU_PEER_ICU
                add("icu", withIcu);
#endif
            }
        }
    }
}
