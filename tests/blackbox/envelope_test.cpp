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
    auto const open = [&](char const* passphrase) {
        std::string opened;
        StringSource(sealed, true, new OrbuCommon::AESDecryptorWithMAC(passphrase, new StringSink(opened)));
        return opened;
    };
    EXPECT_EQ(open("secret"), "text");
    EXPECT_THROW(open("Secret"), OrbuCommon::AESDecryptor::KeyBadErr);
    sealed[25] ^= 1;
    EXPECT_THROW(open("secret"), OrbuCommon::AESDecryptorWithMAC::MACBadErr);
    EXPECT_THROW(open("secret"), OrbuCommon::AESDecryptor::Err);
    EXPECT_THROW(Orbusdk::CCryptUtil::Decrypt("", Orbusdk::CCryptUtil::CryptVersion1),
                 CryptoPP::InvalidCiphertext);
}

} // namespace
