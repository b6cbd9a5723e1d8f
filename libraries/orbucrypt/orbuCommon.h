// The passphrase envelope: four filters that seal and open bytes in a Crypto++ chain.
//
//   without MAC   salt (8 bytes); under AES-128-CBC with PKCS padding: key check (16 bytes), message
//   with MAC      the same, and behind the message, encrypted with it, its HMAC-SHA1 (20 bytes)
//
// Key and IV are stretched from passphrase and salt, the key check is the first 16 bytes of the SHA-1 of
// both. The shortest envelope has 40 bytes. An envelope does not tell whether it has a MAC: it is opened by
// the kind of filter that sealed it.
//
// - A filter owns its attachment, as all of Crypto++'s do, and copies the passphrase: any bytes, or none at
//   all. The copy is wiped with the filter. `passphrase` may be null if `length` is 0.
// - Bytes come in pieces of any size; MessageEnd() ends a message. The next one on the same object starts
//   afresh: with a salt of its own, or waiting for a key check again. That holds too after a message end that
//   threw. IsolatedInitialize() gives up a message half-way.
// - Nothing is known about the data before the message ends. What a decryptor has put out by then may be
//   damaged, and with a MAC as well: whoever acts on the bytes waits for the end, and for CheckLastMAC().
//   Without a MAC a change of the data is found by its padding only, mostly not at all.
// - Exceptions of the attachment and of Crypto++ pass: a length that is no multiple of a block or a bad
//   padding is its InvalidCiphertext, whatever `throwException` says.
// - A filter belongs to one thread at a time.
#pragma once

#include "orbuutil/orbuExport.h"

#include <cryptopp/aes.h>
#include <cryptopp/cryptlib.h>
#include <cryptopp/filters.h>
#include <cryptopp/hmac.h>
#include <cryptopp/modes.h>
#include <cryptopp/secblock.h>
#include <cryptopp/sha.h>

#include <cstddef>
#include <memory>
#include <string>

namespace OrbuCommon {

// Seals a message without MAC. The salt is made of the passphrase, the time and the processor time, so two
// envelopes of one message differ, with high likelihood.
class ORBU_EXPORT AESEncryptor : public CryptoPP::ProxyFilter {
public:
    explicit AESEncryptor(std::string const& passphrase,
                          CryptoPP::BufferedTransformation* attachment = nullptr);
    AESEncryptor(unsigned char const* passphrase, unsigned long length,
                 CryptoPP::BufferedTransformation* attachment = nullptr);
    ~AESEncryptor() override;

protected:
    void InitializeDerived(CryptoPP::NameValuePairs const& parameters) override;
    void FirstPut(unsigned char const* none) override;
    void LastPut(unsigned char const* none, std::size_t length) override;

private:
    CryptoPP::SecByteBlock mPassphrase;
    CryptoPP::CBC_Mode<CryptoPP::Rijndael>::Encryption mCipher;
};

// Opens what AESEncryptor sealed. The first 24 bytes tell whether the passphrase is right, before anything
// goes to the attachment.
class ORBU_EXPORT AESDecryptor : public CryptoPP::ProxyFilter {
public:
    enum State {
        WaitingForKeyCheck = 0,
        KeyGood = 1,
        KeyBad = 2,
    };

    // What the decryptors throw, with the error type DATA_INTEGRITY_CHECK_FAILED.
    class ORBU_EXPORT Err : public CryptoPP::Exception {
    public:
        explicit Err(std::string const& text);
        ~Err() noexcept override;
    };

    // "AESDecryptor: cannot decrypt message with this passphrase": the key check differs, or the message is
    // shorter than 24 bytes.
    class ORBU_EXPORT KeyBadErr : public Err {
    public:
        KeyBadErr();
        ~KeyBadErr() noexcept override;
    };

    // Without `throwException` nothing of the above is thrown: a message under a bad key goes through like
    // any other, and the caller looks at CurrentState().
    explicit AESDecryptor(std::string const& passphrase,
                          CryptoPP::BufferedTransformation* attachment = nullptr, bool throwException = true);
    AESDecryptor(unsigned char const* passphrase, unsigned long length,
                 CryptoPP::BufferedTransformation* attachment = nullptr, bool throwException = true);
    ~AESDecryptor() override;

    // KeyGood or KeyBad from the 24th byte to the end of the message, where it returns to WaitingForKeyCheck,
    // so it is asked before MessageEnd(). It stays what it was if the end throws, and it stays KeyBad, until
    // another message is begun, after one of less than 24 bytes.
    State CurrentState() const { return mState; }

protected:
    void InitializeDerived(CryptoPP::NameValuePairs const& parameters) override;
    void FirstPut(unsigned char const* saltAndKeyCheck) override;
    void LastPut(unsigned char const* rest, std::size_t length) override;

private:
    void CheckKey(unsigned char const* salt, unsigned char const* keyCheck);

    State mState;
    CryptoPP::SecByteBlock mPassphrase;
    CryptoPP::CBC_Mode<CryptoPP::Rijndael>::Decryption mCipher;
    bool mThrowException;
};

// Seals a message with its MAC.
class ORBU_EXPORT AESEncryptorWithMAC : public CryptoPP::ProxyFilter {
public:
    explicit AESEncryptorWithMAC(std::string const& passphrase,
                                 CryptoPP::BufferedTransformation* attachment = nullptr);
    AESEncryptorWithMAC(unsigned char const* passphrase, unsigned long length,
                        CryptoPP::BufferedTransformation* attachment = nullptr);
    ~AESEncryptorWithMAC() override;

protected:
    void FirstPut(unsigned char const* none) override;
    void LastPut(unsigned char const* none, std::size_t length) override;

private:
    std::unique_ptr<CryptoPP::HMAC<CryptoPP::SHA1>> mMac;
};

// Opens what AESEncryptorWithMAC sealed: the message goes to the attachment, the MAC does not.
class ORBU_EXPORT AESDecryptorWithMAC : public CryptoPP::ProxyFilter {
public:
    // "AESDecryptorWithMAC: MAC check failed", at the end of a message.
    class ORBU_EXPORT MACBadErr : public AESDecryptor::Err {
    public:
        MACBadErr();
        ~MACBadErr() noexcept override;
    };

    // Without `throwException` neither KeyBadErr nor MACBadErr is thrown, and the caller looks at
    // CurrentState() and CheckLastMAC().
    explicit AESDecryptorWithMAC(std::string const& passphrase,
                                 CryptoPP::BufferedTransformation* attachment = nullptr,
                                 bool throwException = true);
    AESDecryptorWithMAC(unsigned char const* passphrase, unsigned long length,
                        CryptoPP::BufferedTransformation* attachment = nullptr, bool throwException = true);
    ~AESDecryptorWithMAC() override;

    // As AESDecryptor's.
    AESDecryptor::State CurrentState() const;

    // Whether the last message was whole. False until one has ended well, from the first byte of a message to
    // its end, and after an end that threw.
    bool CheckLastMAC() const;

protected:
    void FirstPut(unsigned char const* none) override;
    void LastPut(unsigned char const* none, std::size_t length) override;

private:
    std::unique_ptr<CryptoPP::HMAC<CryptoPP::SHA1>> mMac;
    CryptoPP::HashVerificationFilter* mHashVerifier; // owned by the decryptor, which the base owns
    bool mThrowException;
};

} // namespace OrbuCommon
