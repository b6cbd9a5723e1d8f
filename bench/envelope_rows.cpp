#include "orbucrypt/orbuCommon.h"
#include "rows.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <stdexcept>
#include <vector>

namespace {

using CryptoPP::BufferedTransformation;
using CryptoPP::Rijndael;
using CryptoPP::SHA1;

constexpr std::size_t kSize = std::size_t{64} << 20;
constexpr std::size_t kPiece = 64 << 10; // what a program reads at once
constexpr std::size_t kRoom = kSize + 128;
constexpr std::size_t kMACLength = SHA1::DIGESTSIZE;
constexpr unsigned char kSecret[] = "0123456789abcdef";

using Bytes = std::vector<unsigned char>;

std::size_t run(BufferedTransformation& chain, CryptoPP::ArraySink& sink, unsigned char const* bytes,
                std::size_t length) {
    for (std::size_t at = 0; at < length; at += kPiece) {
        chain.Put(bytes + at, std::min(kPiece, length - at));
    }
    chain.MessageEnd();
    return static_cast<std::size_t>(sink.TotalPutLength());
}

std::size_t seal(Bytes const& message, Bytes& sealed) {
    auto* const sink = new CryptoPP::ArraySink(sealed.data(), sealed.size());
    OrbuCommon::AESEncryptorWithMAC filter(kSecret, sizeof kSecret, sink);
    return run(filter, *sink, message.data(), message.size());
}

void open(Bytes const& sealed, std::size_t length, Bytes& message) {
    auto* const sink = new CryptoPP::ArraySink(message.data(), message.size());
    OrbuCommon::AESDecryptorWithMAC filter(kSecret, sizeof kSecret, sink);
    if (run(filter, *sink, sealed.data(), length) != kSize) {
        throw std::runtime_error("what was sealed does not open");
    }
}

} // namespace

// By hand: the two primitives one after the other over the whole of the data in memory.
void registerEnvelopeRows() {
    benchmark::RegisterBenchmark("seal64M/ours", [](benchmark::State& state) {
        Bytes const message(kSize, 'x');
        Bytes sealed(kRoom, 1);
        for (auto _ : state) {
            benchmark::DoNotOptimize(seal(message, sealed));
        }
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("seal64M/by_hand", [](benchmark::State& state) {
        Bytes const message(kSize, 'x');
        Bytes sealed(kRoom, 1);
        for (auto _ : state) {
            CryptoPP::HMAC<SHA1> mac(kSecret, 16);
            unsigned char code[kMACLength];
            mac.CalculateDigest(code, message.data(), message.size());
            CryptoPP::CBC_Mode<Rijndael>::Encryption cipher(kSecret, 16, kSecret);
            cipher.ProcessData(sealed.data(), message.data(), message.size());
            benchmark::DoNotOptimize(code);
            benchmark::DoNotOptimize(sealed.data());
        }
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("open64M/ours", [](benchmark::State& state) {
        Bytes message(kSize, 'x');
        Bytes sealed(kRoom, 1);
        std::size_t const length = seal(message, sealed);
        for (auto _ : state) {
            open(sealed, length, message);
        }
    })->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("open64M/by_hand", [](benchmark::State& state) {
        Bytes const sealed(kSize, 'x');
        Bytes message(kRoom, 1);
        for (auto _ : state) {
            CryptoPP::CBC_Mode<Rijndael>::Decryption cipher(kSecret, 16, kSecret);
            cipher.ProcessData(message.data(), sealed.data(), sealed.size());
            CryptoPP::HMAC<SHA1> mac(kSecret, 16);
            unsigned char code[kMACLength];
            mac.CalculateDigest(code, message.data(), kSize);
            benchmark::DoNotOptimize(code);
        }
    })->Unit(benchmark::kMillisecond);
}
