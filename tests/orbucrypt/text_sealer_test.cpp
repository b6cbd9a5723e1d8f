// The expected texts were computed with Python and the openssl command from the library's stored blocks.
#include "orbucrypt/ccryptUtil.h"

#include <cryptopp/cryptlib.h>
#include <gtest/gtest.h>

namespace {

using namespace Orbusdk;

constexpr auto kVersion1 = CCryptUtil::CryptVersion1;
constexpr auto kVersion2 = CCryptUtil::CryptVersion2;
constexpr char kCafe[] = "caf\xC3\xA9 \xE6\x97\xA5\xE6\x9C\xAC";

TEST(TextSealer, GivesTheKnownTextsAndTakesThemBack) {
    std::tuple<int, std::string, char const*> const rows[] = {
        {1, "", "d31vD1wJrfD9liSEAVd0Jw=="},     {1, kCafe, "+ytIZ6TIHJS2eTOtb9MDSA=="},
        {2, "", "DDpFCAhQ2ZbuvasWblyM3w=="},     {2, kCafe, "JM6HGA9bpBviWO+JW176UQ=="},
        {0, kCafe, "+ytIZ6TIHJS2eTOtb9MDSA=="},  {3, kCafe, "+ytIZ6TIHJS2eTOtb9MDSA=="},
        {-9, kCafe, "+ytIZ6TIHJS2eTOtb9MDSA=="},
    };
    for (auto const& [number, text, sealed] : rows) {
        auto const version = static_cast<CCryptUtil::CryptVersion>(number);
        EXPECT_EQ(CCryptUtil::Encrypt(text, version), sealed) << number;
        EXPECT_EQ(CCryptUtil::Decrypt(sealed, version), text) << number;
    }
    std::string const every(70000, '\0');
    std::string const sealed = CCryptUtil::Encrypt(every, kVersion2);
    EXPECT_EQ(sealed.find('\n'), std::string::npos);
    EXPECT_EQ(CCryptUtil::Decrypt(sealed, kVersion2), every);
    std::string const other = CCryptUtil::Encrypt("some text", kVersion1);
    EXPECT_THROW(CCryptUtil::Decrypt(other, kVersion2), CryptoPP::InvalidCiphertext);
    EXPECT_THROW(CCryptUtil::Decrypt(other.substr(4), kVersion1), CryptoPP::InvalidCiphertext);
    EXPECT_THROW(CCryptUtil::Decrypt("", kVersion1), CryptoPP::InvalidCiphertext);
}

TEST(TextSealer, MarksTheTextOfALog) {
    TStr out("before");
    encrypt_log(TStr(kCafe), out);
    EXPECT_STREQ(out.toUtf8(), "ENCODED{+ytIZ6TIHJS2eTOtb9MDSA==}");
    TStr same(kCafe);
    encrypt_log(same, same);
    EXPECT_EQ(same, out);
    for (TStr const& nothing : {TStr(""), TStr(), TStr::null}) {
        encrypt_log(nothing, out);
        EXPECT_STREQ(out.toUtf8(), "ENCODED{d31vD1wJrfD9liSEAVd0Jw==}");
    }
    EXPECT_EQ(convertTStrtoStdString(TStr(kCafe)), kCafe);
    EXPECT_EQ(convertTStrtoStdString(TStr::null), "");
}

} // namespace
