// Exceptions of the library, caught by type in a host.
#include "orbucrypt/ccryptUtil.h"
#include "orbucrypt/orbuCommon.h"

#include <gtest/gtest.h>

namespace {

using CryptoPP::StringSink;
using CryptoPP::StringSource;

TEST(Host, CatchesTheEnvelopesExceptionsByType) {
    std::string sealed;
    StringSource("text", true, new OrbuCommon::AESEncryptorWithMAC("secret", new StringSink(sealed)));
    std::string opened;
    StringSource(sealed, true, new OrbuCommon::AESDecryptorWithMAC("secret", new StringSink(opened)));
    EXPECT_EQ(opened, "text");
    auto const open = [&](char const* passphrase) {
        StringSource(sealed, true, new OrbuCommon::AESDecryptorWithMAC(passphrase, new StringSink(opened)));
    };
    EXPECT_THROW(open("Secret"), OrbuCommon::AESDecryptor::KeyBadErr);
    EXPECT_THROW(open("Secret"), OrbuCommon::AESDecryptor::Err);
    sealed[25] ^= 1;
    EXPECT_THROW(open("secret"), OrbuCommon::AESDecryptorWithMAC::MACBadErr);
    sealed.pop_back();
    EXPECT_THROW(open("secret"), CryptoPP::InvalidCiphertext);
    EXPECT_THROW(Orbusdk::CCryptUtil::Decrypt("", Orbusdk::CCryptUtil::CryptVersion1),
                 CryptoPP::InvalidCiphertext);
}

} // namespace
