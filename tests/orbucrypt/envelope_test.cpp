// The expected bytes were computed with Python's hashlib and hmac and the openssl command.
#include "orbucrypt/orbuCommon.h"
#include "orbucrypt/orbuMashPrivate.h"

#include <cryptopp/hex.h>
#include <gtest/gtest.h>

namespace {

using namespace OrbuCommon;
using CryptoPP::InvalidCiphertext;
using CryptoPP::StringSink;
using CryptoPP::StringSource;

std::string hex(std::string const& bytes) {
    std::string text;
    StringSource(bytes, true, new CryptoPP::HexEncoder(new StringSink(text)));
    return text;
}

unsigned char const* bytes_of(std::string const& text) {
    return reinterpret_cast<unsigned char const*>(text.data());
}

std::string mash(std::string const& in, std::size_t length, int iterations) {
    std::string out(length, '\0');
    Mash(bytes_of(in), in.size(), reinterpret_cast<unsigned char*>(out.data()), length, iterations);
    return out;
}

// `bytes` in pieces of `piece` bytes, and the end of the message.
void put(CryptoPP::BufferedTransformation& filter, std::string const& bytes, std::size_t piece) {
    for (std::size_t at = 0; at < bytes.size(); at += piece) {
        filter.Put(bytes_of(bytes) + at, std::min(piece, bytes.size() - at));
    }
    filter.MessageEnd();
}

std::string seal(std::string const& passphrase, std::string const& message, bool mac,
                 std::size_t piece = 4096) {
    std::string sealed;
    std::unique_ptr<CryptoPP::BufferedTransformation> filter;
    if (mac) {
        filter = std::make_unique<AESEncryptorWithMAC>(passphrase, new StringSink(sealed));
    } else {
        filter = std::make_unique<AESEncryptor>(passphrase, new StringSink(sealed));
    }
    put(*filter, message, piece);
    return sealed;
}

// What comes out, and how it ended.
struct Opened {
    std::string message;
    std::string error;
    bool good = false; // with MAC: what CheckLastMAC says
    AESDecryptor::State state = AESDecryptor::WaitingForKeyCheck;
};

template <typename Decryptor>
Opened open_with(std::string const& passphrase, std::string const& sealed, bool throws, std::size_t piece) {
    Opened opened;
    Decryptor filter(bytes_of(passphrase), passphrase.size(), new StringSink(opened.message), throws);
    try {
        put(filter, sealed, piece);
    } catch (AESDecryptor::Err const& error) {
        EXPECT_EQ(error.GetErrorType(), CryptoPP::Exception::DATA_INTEGRITY_CHECK_FAILED);
        opened.error = error.what();
    } catch (InvalidCiphertext const&) {
        opened.error = "ciphertext";
    }
    opened.state = filter.CurrentState();
    if constexpr (std::is_same_v<Decryptor, AESDecryptorWithMAC>) {
        opened.good = filter.CheckLastMAC();
    }
    return opened;
}

Opened open(std::string const& passphrase, std::string const& sealed, bool mac, bool throws = true,
            std::size_t piece = 4096) {
    return mac ? open_with<AESDecryptorWithMAC>(passphrase, sealed, throws, piece)
               : open_with<AESDecryptor>(passphrase, sealed, throws, piece);
}

constexpr char kKeyBad[] = "AESDecryptor: cannot decrypt message with this passphrase";
constexpr char kMACBad[] = "AESDecryptorWithMAC: MAC check failed";

TEST(Mash, GivesTheKnownBytes) {
    std::tuple<std::string, std::size_t, int, char const*> const rows[] = {
        {"", 0, 1, ""},
        {"", 16, 1, "1489F923C4DCA729178B3E3233458550"},
        {"passphrase", 20, 2, "8D17A59A4905757087C1A4B9C28DA9BB0E2972E8"},
        {"passphrase", 32, 0, "A5BEF5BC2540C689CA6E92642B6FD9F17021EF65625EAF74EC91A88BD1417DEE"},
        {"passphrase", 32, 2, "F1C74C6F658B7418AB9F2173346B9B168249F0D6B72E1BCC91C7C95B9B3F256A"},
        {"passphrase", 32, 200, "A64FDD03453BE554FE13CA8F2DB3B23ECAE4E4A41083DED5BA4629A179FA7597"},
        {std::string("\0\xFF", 2), 41, 3,
         "A688557F6127DC37E032CF97F625AA4F10CCA78F3355729F7EFF3121C7A3A6112109326F7BC3D18D6C"},
    };
    for (auto const& [in, length, iterations, out] : rows) {
        EXPECT_EQ(hex(mash(in, length, iterations)), out) << length << " " << iterations;
    }
    std::string digest(20, '\0');
    CryptoPP::SHA1().CalculateDigest(reinterpret_cast<unsigned char*>(digest.data()),
                                     bytes_of(mash("x", 65535, 1)), 65535);
    EXPECT_EQ(hex(digest), "7B51BBA267752850E0BC808E25DB16E37926B03C");
    std::string refused;
    try {
        mash("x", 65536, 1);
    } catch (CryptoPP::InvalidArgument const& error) {
        refused = error.what();
    }
    EXPECT_EQ(refused, "Mash: output legnth too large");
}

TEST(Envelope, HasTheKnownBytesAtAKnownTime) {
    static std::int64_t now[2];
    SaltClock const kept = gSaltClock;
    gSaltClock = {[] { return now[0]; }, [] { return now[1]; }};
    struct {
        std::string passphrase;
        std::int64_t time, clock;
        std::string message;
        char const *plain, *withMac;
    } const rows[] = {
        {"", 0, 0, "", "E129F27C5103BC5C81BBC5F6C5603BA8C937B43CF6FAC3E7A22899FF2DB82B40858F044C781A9074",
         "E129F27C5103BC5C81BBC5F6C5603BA8C937B43CF6FAC3E752B2B2ECDA57F0F3"
         "9352A18E693D5FFB541ECB3F7B05DD61C166531B7C87A14D"},
        {"correct horse battery staple", 1700000000, 123456, "The quick brown fox jumps over the lazy dog.",
         "671565D551A37934BF087B965A2EC0ED79F3E00F72083CD7DC94D417B6330871D3C33F34B877AC9B8C0E6D112413C55B17A"
         "D0A37ECDE2D568ED6D0D82C1E3CC4F8A4CF40A4F42D96",
         "671565D551A37934BF087B965A2EC0ED79F3E00F72083CD7DC94D417B6330871D3C33F34B877AC9B8C0E6D112413C55B17A"
         "D0A37ECDE2D568CC87C6DED45748C0322D941466D1FD5C02AE7AEC3872CF0CAD93E918F64DDC3E5A67393B677649A3D4BED"
         "96B9B4F7E3"},
    };
    for (auto const& row : rows) {
        now[0] = row.time;
        now[1] = row.clock;
        for (std::size_t const piece : {1, 16, 4096}) {
            EXPECT_EQ(hex(seal(row.passphrase, row.message, false, piece)), row.plain);
            EXPECT_EQ(hex(seal(row.passphrase, row.message, true, piece)), row.withMac);
        }
    }
    gSaltClock = kept;
}

TEST(Envelope, OpensForAnyLengthInPiecesOfAnySize) {
    for (std::size_t const length : {0, 1, 15, 16, 17, 19, 20, 21, 100, 4096, 70000}) {
        std::string message;
        for (std::size_t i = 0; i < length; ++i) {
            message += static_cast<char>(i * i + i / 251);
        }
        for (bool const mac : {false, true}) {
            std::string const sealed = seal("secret", message, mac, 777);
            EXPECT_EQ(sealed.size(), 8 + 16 + (length + (mac ? 20 : 0)) / 16 * 16 + 16);
            for (std::size_t const piece : {1, 7, 23, 24, 25, 40, 100000}) {
                Opened const opened = open("secret", sealed, mac, true, piece);
                EXPECT_EQ(opened.error, "");
                EXPECT_TRUE(opened.message == message) << length << " in pieces of " << piece;
                EXPECT_EQ(opened.state, AESDecryptor::WaitingForKeyCheck);
                EXPECT_EQ(opened.good, mac);
                if (mac) {
                    // An attachment that lends its memory, which is just enough.
                    CryptoPP::SecByteBlock block(length);
                    AESDecryptorWithMAC filter("secret", new CryptoPP::ArraySink(block, length));
                    put(filter, sealed, piece);
                    EXPECT_TRUE(std::string(block.begin(), block.end()) == message) << length << " " << piece;
                }
            }
        }
    }
}

// Thrown when told to, before anything goes out if the key is bad; else nothing of the envelope's own.
void expect_bad(bool key, std::string const& passphrase, std::string const& sealed, bool mac,
                std::size_t piece = 4096) {
    Opened const thrown = open(passphrase, sealed, mac, true, piece);
    Opened const silent = open(passphrase, sealed, mac, false, piece);
    EXPECT_FALSE(thrown.good || silent.good);
    EXPECT_TRUE(silent.error.empty() || silent.error == "ciphertext") << silent.error;
    if (key) {
        EXPECT_EQ(thrown.error, kKeyBad);
        EXPECT_EQ(thrown.message, "");
        EXPECT_EQ(thrown.state, AESDecryptor::KeyBad);
        EXPECT_TRUE(sealed.size() >= 24 || silent.state == AESDecryptor::KeyBad);
    } else {
        EXPECT_TRUE(thrown.error == "ciphertext" || (mac && thrown.error == kMACBad)) << thrown.error;
        EXPECT_TRUE(thrown.error == kMACBad || thrown.state == AESDecryptor::KeyGood);
    }
}

TEST(Envelope, TellsAWrongPassphraseAndDamage) {
    std::string const message = "forty bytes of plain text, and not more.";
    for (bool const mac : {false, true}) {
        std::string const sealed = seal("secret", message, mac);
        for (std::size_t const piece : {5, 24, 5000}) {
            expect_bad(true, "Secret", sealed, mac, piece);
        }
        for (std::size_t length = 0; length < sealed.size(); ++length) {
            SCOPED_TRACE(length);
            expect_bad(length < 24, "secret", sealed.substr(0, length), mac);
        }
        for (std::size_t bit = 0; bit < (mac ? sealed.size() : 24) * 8; ++bit) {
            SCOPED_TRACE(bit);
            std::string damaged = sealed;
            damaged[bit / 8] ^= static_cast<char>(1 << bit % 8);
            expect_bad(bit < 24 * 8, "secret", damaged, mac);
        }
    }
    // Sealed without a MAC, the last bytes of the message are taken for it, or are too few.
    EXPECT_EQ(open("secret", seal("secret", message, false), true).error, kMACBad);
    EXPECT_EQ(open("secret", seal("secret", "short", false), true).error, kMACBad);
    // Not told to throw, it passes on what a wrong key makes of the data.
    std::string out;
    AESDecryptor filter("Secret", new StringSink(out), false);
    filter.Put(bytes_of(seal("secret", message, false)), 24 + 32);
    EXPECT_EQ(filter.CurrentState(), AESDecryptor::KeyBad);
    EXPECT_FALSE(out.empty());
}

TEST(Envelope, StartsAfreshAfterEveryEnd) {
    static std::int64_t ticks = 0;
    SaltClock const kept = std::exchange(gSaltClock, {gSaltClock.time, [] { return ++ticks; }});
    std::string good;
    AESEncryptorWithMAC encryptor("secret", new StringSink(good));
    put(encryptor, "a message of some length, good", 3);
    std::string const first = std::exchange(good, "");
    put(encryptor, "a message of some length, good", 8);
    gSaltClock = kept;
    EXPECT_NE(first.substr(0, 8), good.substr(0, 8));
    EXPECT_EQ(first.size(), good.size());

    std::string const other = seal("other", "a message", true);
    std::string damaged = good;
    damaged[30] ^= 1;
    std::string out;
    AESDecryptorWithMAC filter("secret", new StringSink(out));
    auto const opens_good = [&] {
        out.clear();
        EXPECT_NO_THROW(put(filter, good, 10));
        EXPECT_TRUE(filter.CheckLastMAC());
        EXPECT_EQ(out, "a message of some length, good");
    };
    opens_good();
    for (std::string const& bad :
         {good.substr(0, 23), good.substr(0, 24), good.substr(0, 60), damaged, other}) {
        EXPECT_THROW(put(filter, bad, 10), CryptoPP::Exception);
        EXPECT_FALSE(filter.CheckLastMAC());
        opens_good();
    }
    // Given up half-way.
    filter.Put(bytes_of(good), 50);
    filter.IsolatedInitialize(CryptoPP::g_nullNameValuePairs);
    opens_good();
}

} // namespace
