#include "orbucrypt/orbuMashPrivate.h"

#include <cryptopp/cryptlib.h>

#include <algorithm>
#include <cstring>
#include <ctime>

namespace OrbuCommon {

namespace {

using CryptoPP::SecByteBlock;
using CryptoPP::SHA1;

constexpr std::size_t kDigestLength = SHA1::DIGESTSIZE;
constexpr std::size_t kLongestOutput = 0xffff; // what the two bytes of a position can tell

// One slot: the SHA-1 of the position, high byte first, and the input.
void mash_slot(std::size_t position, unsigned char const* in, std::size_t inLength, unsigned char* slot) {
    unsigned char const prefix[2] = {static_cast<unsigned char>(position >> 8),
                                     static_cast<unsigned char>(position)};
    SHA1 hash;
    hash.Update(prefix, sizeof prefix);
    hash.Update(in, inLength);
    hash.Final(slot);
}

} // namespace

constinit SaltClock gSaltClock = {
    [] { return static_cast<std::int64_t>(std::time(nullptr)); },
    [] { return static_cast<std::int64_t>(std::clock()); },
};

void Mash(unsigned char const* in, std::size_t inLength, unsigned char* out, std::size_t outLength,
          int iterations) {
    if (outLength > kLongestOutput) {
        // Hosts compare this text, misspelling and all.
        throw CryptoPP::InvalidArgument("Mash: output legnth too large");
    }
    if (outLength == 0) {
        return;
    }
    std::size_t const bufferSize = (outLength + kDigestLength - 1) / kDigestLength * kDigestLength;
    SecByteBlock current(bufferSize);
    SecByteBlock previous(bufferSize);

    for (std::size_t i = 0; i < outLength; i += kDigestLength) {
        mash_slot(i, in, inLength, current + i);
    }
    for (int pass = 1; pass < iterations; ++pass) {
        std::memcpy(previous, current, bufferSize);
        for (std::size_t i = 0; i < bufferSize; i += kDigestLength) {
            mash_slot(i, previous, bufferSize, current + i);
        }
    }
    std::memcpy(out, current, outLength);
}

void GenerateKeyIV(unsigned char const* passphrase, std::size_t passphraseLength, unsigned char const* salt,
                   std::size_t saltLength, unsigned char* key, unsigned char* iv) {
    SecByteBlock input(passphraseLength + saltLength);
    std::copy_n(passphrase, passphraseLength, input.begin());
    std::copy_n(salt, saltLength, input.begin() + passphraseLength);
    SecByteBlock stretched(kKeyLength + kIVLength);
    Mash(input, input.size(), stretched, stretched.size(), kKeyIterations);
    std::memcpy(key, stretched, kKeyLength);
    std::memcpy(iv, stretched + kKeyLength, kIVLength);
}

std::unique_ptr<CryptoPP::HMAC<SHA1>> NewDefaultEncryptorMAC(unsigned char const* passphrase,
                                                             std::size_t length) {
    SecByteBlock key(kMACKeyLength);
    Mash(passphrase, length, key, key.size(), kMACKeyIterations);
    return std::make_unique<CryptoPP::HMAC<SHA1>>(key, key.size());
}

void GenerateKeyCheck(SecByteBlock const& passphrase, unsigned char const* salt, unsigned char* keyCheck) {
    SHA1 hash;
    hash.Update(passphrase, passphrase.size());
    hash.Update(salt, kSaltLength);
    hash.TruncatedFinal(keyCheck, kKeyCheckLength);
}

void GenerateSalt(SecByteBlock const& passphrase, unsigned char* salt) {
    // Eight bytes each, as they lie in memory.
    std::int64_t const times[2] = {gSaltClock.time(), gSaltClock.clock()};
    unsigned char bytes[sizeof times];
    std::memcpy(bytes, times, sizeof times);
    SHA1 hash;
    hash.Update(passphrase, passphrase.size());
    hash.Update(bytes, sizeof bytes);
    hash.TruncatedFinal(salt, kSaltLength);
}

} // namespace OrbuCommon
