#include "orbucrypt/ccryptUtil.h"

#include "orbucrypt/ccryptUtilPrivate.h"
#include "orbuutil/c_strPrivate.h"

#include <cryptopp/aes.h>
#include <cryptopp/base64.h>
#include <cryptopp/filters.h>
#include <cryptopp/misc.h>
#include <cryptopp/modes.h>

#include <cstddef>

namespace Orbusdk {

namespace {

using CryptoPP::Rijndael;
using CryptoPP::SecByteBlock;
using CryptoPP::StreamTransformationFilter;
using CryptoPP::StringSink;
using CryptoPP::StringSource;

constexpr std::size_t kKeyLength = 32;
constexpr std::size_t kIVLength = 16;

// Stored turned round, so that neither a search for the key's bytes nor for a key's look finds them here.
struct StoredCryptInfo {
    unsigned char key[kKeyLength];
    unsigned char iv[kIVLength];
    int keyCount;
    int ivCount;
};

constexpr StoredCryptInfo kStored[] = {
    {{0xd2, 0x6c, 0x21, 0x5d, 0xa0, 0x9e, 0x3e, 0xb6, 0x61, 0x01, 0x38, 0xf0, 0x9e, 0xfb, 0x51, 0x3a,
      0xcf, 0xbe, 0x37, 0x8e, 0x28, 0xc2, 0x93, 0xb0, 0x5a, 0x6f, 0x65, 0xae, 0xda, 0x61, 0x5a, 0x8f},
     {0xbe, 0x82, 0x2d, 0x66, 0x88, 0x2d, 0x9f, 0xd2, 0xa1, 0x61, 0xc9, 0x2a, 0x31, 0x08, 0x60, 0x0f},
     200,
     105},
    {{0x74, 0x5a, 0xee, 0x8b, 0x6f, 0xbe, 0xce, 0x74, 0x9a, 0x79, 0x09, 0xee, 0x2f, 0x3b, 0x0c, 0xf3,
      0x73, 0xfe, 0x5c, 0x72, 0xc6, 0x21, 0xa9, 0x72, 0x60, 0x46, 0xae, 0xb1, 0xf5, 0xb2, 0x37, 0x78},
     {0x6e, 0xe7, 0xb9, 0x07, 0x4d, 0xdc, 0xa5, 0x33, 0x6e, 0x93, 0xc8, 0xc8, 0x43, 0xe9, 0x70, 0x98},
     60,
     74},
};

// Wipes a text when the scope ends, by whichever way.
class Wiper {
public:
    explicit Wiper(std::string& text) : mText(text) {}
    Wiper(Wiper const&) = delete;
    Wiper& operator=(Wiper const&) = delete;
    ~Wiper() { CryptoPP::SecureWipeBuffer(mText.data(), mText.size()); }

private:
    std::string& mText;
};

} // namespace

void exposeCryptInfo(int count, SecByteBlock& block) {
    if (block.empty()) {
        return;
    }
    for (int n = count - 1; n >= 0; --n) {
        unsigned out = (block[block.size() - 1] ^ static_cast<unsigned>(n)) & 1u;
        for (unsigned char& byte : block) {
            unsigned const next = byte & 1u;
            byte = static_cast<unsigned char>(out << 7 | byte >> 1);
            out = next;
        }
    }
}

std::pair<SecByteBlock, SecByteBlock> cryptInfo(CCryptUtil::CryptVersion version) {
    StoredCryptInfo const& stored = kStored[version == CCryptUtil::CryptVersion2 ? 1 : 0];
    std::pair<SecByteBlock, SecByteBlock> info(SecByteBlock(stored.key, kKeyLength),
                                               SecByteBlock(stored.iv, kIVLength));
    exposeCryptInfo(stored.keyCount, info.first);
    exposeCryptInfo(stored.ivCount, info.second);
    return info;
}

std::string CCryptUtil::Encrypt(std::string const& text, CryptVersion version) {
    auto const [key, iv] = cryptInfo(version);
    CryptoPP::CBC_Mode<Rijndael>::Encryption cipher(key, key.size(), iv);
    std::string sealed;
    StringSource const encrypting(text, true, new StreamTransformationFilter(cipher, new StringSink(sealed)));
    std::string result;
    StringSource const encoding(sealed, true, new CryptoPP::Base64Encoder(new StringSink(result), false));
    return result;
}

std::string CCryptUtil::Decrypt(std::string const& text, CryptVersion version) {
    auto const [key, iv] = cryptInfo(version);
    CryptoPP::CBC_Mode<Rijndael>::Decryption cipher(key, key.size(), iv);
    std::string sealed;
    StringSource const decoding(text, true, new CryptoPP::Base64Decoder(new StringSink(sealed)));
    // Into a block that is wiped, and in one copy from there: a string that grows would leave pieces behind.
    SecByteBlock plain(sealed.size());
    auto* const sink = new CryptoPP::ArraySink(plain, plain.size());
    StreamTransformationFilter filter(cipher, sink);
    StringSource const decrypting(sealed, true, new CryptoPP::Redirector(filter));
    return {reinterpret_cast<char const*>(plain.data()), static_cast<std::size_t>(sink->TotalPutLength())};
}

void encrypt_log(TStr const& in, TStr& out) {
    std::string text = convertTStrtoStdString(in);
    Wiper const wiper(text);
    std::string const encoded = "ENCODED{" + CCryptUtil::Encrypt(text, CCryptUtil::CryptVersion1) + "}";
    out = TStr(encoded.c_str());
}

std::string convertTStrtoStdString(TStr const& text) {
    char const* const bytes = private_str_text(text.handle());
    return bytes == nullptr ? std::string() : std::string(bytes, static_cast<std::size_t>(text.length()));
}

} // namespace Orbusdk
