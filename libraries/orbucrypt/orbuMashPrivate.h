// What the envelope derives from a passphrase: keys, the key check and the salt.
//
// The bytes are this system's own and fixed: envelopes in the field depend on them. Everything that is made
// on the way is wiped. One thread at a time a call; nothing is kept between calls but the clock below.
#pragma once

#include <cryptopp/hmac.h>
#include <cryptopp/secblock.h>
#include <cryptopp/sha.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace OrbuCommon {

constexpr std::size_t kSaltLength = 8;
constexpr std::size_t kKeyCheckLength = 16;
constexpr std::size_t kKeyLength = 16;
constexpr std::size_t kIVLength = 16;
constexpr int kKeyIterations = 200;
constexpr std::size_t kMACKeyLength = 16;
constexpr int kMACKeyIterations = 1;

// Stretches `in` to `outLength` bytes. Fewer than two iterations are one. From 65,536 bytes on throws
// Crypto++'s InvalidArgument. `out` and `in` may not overlap.
void Mash(unsigned char const* in, std::size_t inLength, unsigned char* out, std::size_t outLength,
          int iterations);

// The 16 bytes of key and the 16 bytes of IV for a passphrase and a salt.
void GenerateKeyIV(unsigned char const* passphrase, std::size_t passphraseLength, unsigned char const* salt,
                   std::size_t saltLength, unsigned char* key, unsigned char* iv);

// A MAC under the passphrase alone. It takes no salt and one iteration on purpose: it only ever stands inside
// of what is encrypted, so it needs no stretching.
std::unique_ptr<CryptoPP::HMAC<CryptoPP::SHA1>> NewDefaultEncryptorMAC(unsigned char const* passphrase,
                                                                       std::size_t length);

// The first 16 bytes of the SHA-1 of passphrase and salt.
void GenerateKeyCheck(CryptoPP::SecByteBlock const& passphrase, unsigned char const* salt,
                      unsigned char* keyCheck);

// The salt of a message that begins now.
void GenerateSalt(CryptoPP::SecByteBlock const& passphrase, unsigned char* salt);

// Where the salt's two times come from: time() and clock(). A test that needs a certain salt stops them.
struct SaltClock {
    std::int64_t (*time)();
    std::int64_t (*clock)();
};
extern SaltClock gSaltClock;

} // namespace OrbuCommon
