#include "orbucrypt/orbuCommon.h"

#include "orbucrypt/orbuMashPrivate.h"

#include <cryptopp/algparam.h>
#include <cryptopp/argnames.h>
#include <cryptopp/misc.h>

namespace OrbuCommon {

using CryptoPP::BufferedTransformation;
using CryptoPP::HashFilter;
using CryptoPP::HashVerificationFilter;
using CryptoPP::NameValuePairs;
using CryptoPP::SecByteBlock;
using CryptoPP::StreamTransformationFilter;

namespace {

constexpr std::size_t kHeadLength = kSaltLength + kKeyCheckLength;
constexpr unsigned int kVerifierFlags = HashVerificationFilter::PUT_MESSAGE;

unsigned char const* bytes_of(std::string const& text) {
    return reinterpret_cast<unsigned char const*>(text.data());
}

// A verifier that lets the decryptor write where the message is going, so that a message in memory is not
// copied once more. What the verifier holds back, since it may be the hash, goes in front of what is new:
//
//   space of the attachment   [ held back ][ decrypted by the caller ]
//                             [ passed on           ][ held back now ]
//
// The space is good for the one call that follows; whatever else comes goes the usual way.
class InPlaceVerifier : public HashVerificationFilter {
public:
    explicit InPlaceVerifier(CryptoPP::HashTransformation& hash)
        : HashVerificationFilter(hash, nullptr, kVerifierFlags) {}

    unsigned char* CreatePutSpace(std::size_t& size) override {
        std::size_t const held = m_queue.CurrentSize();
        std::size_t room = size + held;
        mSpace = AttachedTransformation()->CreatePutSpace(room);
        if (mSpace == nullptr || room <= held) {
            mSpace = nullptr;
            size = 0;
            return nullptr;
        }
        size = room - held;
        return mSpace + held;
    }

    std::size_t Put2(unsigned char const* bytes, std::size_t length, int messageEnd, bool blocking) override {
        mSpace = nullptr;
        return HashVerificationFilter::Put2(bytes, length, messageEnd, blocking);
    }

    std::size_t PutModifiable2(unsigned char* bytes, std::size_t length, int messageEnd,
                               bool blocking) override {
        unsigned char* const space = std::exchange(mSpace, nullptr);
        std::size_t const held = m_queue.CurrentSize();
        if (space == nullptr || bytes != space + held || held + length <= m_lastSize || messageEnd != 0 ||
            !m_firstInputDone) {
            return HashVerificationFilter::PutModifiable2(bytes, length, messageEnd, blocking);
        }
        m_queue.GetAll(space);
        std::size_t const passed = held + length - m_lastSize;
        m_queue.Put(space + passed, m_lastSize);
        NextPutModifiable(space, passed);
        return 0;
    }

private:
    unsigned char* mSpace = nullptr;
};

template <typename Cipher>
void set_key(Cipher& cipher, SecByteBlock const& passphrase, unsigned char const* salt) {
    SecByteBlock key(kKeyLength);
    SecByteBlock iv(kIVLength);
    GenerateKeyIV(passphrase, passphrase.size(), salt, kSaltLength, key, iv);
    cipher.SetKeyWithIV(key, key.size(), iv, iv.size());
}

} // namespace

// --- AESEncryptor ---

AESEncryptor::AESEncryptor(std::string const& passphrase, BufferedTransformation* attachment)
    : AESEncryptor(bytes_of(passphrase), passphrase.size(), attachment) {}

AESEncryptor::AESEncryptor(unsigned char const* passphrase, unsigned long length,
                           BufferedTransformation* attachment)
    : ProxyFilter(nullptr, 0, 0, attachment), mPassphrase(passphrase, length) {}

AESEncryptor::~AESEncryptor() = default;

void AESEncryptor::InitializeDerived(NameValuePairs const&) { m_filter.reset(); }

void AESEncryptor::FirstPut(unsigned char const*) {
    unsigned char salt[kSaltLength];
    GenerateSalt(mPassphrase, salt);
    SecByteBlock keyCheck(kKeyCheckLength);
    GenerateKeyCheck(mPassphrase, salt, keyCheck);
    AttachedTransformation()->Put(salt, sizeof salt);

    set_key(mCipher, mPassphrase, salt);
    SetFilter(new StreamTransformationFilter(mCipher));
    m_filter->Put(keyCheck, keyCheck.size());
}

void AESEncryptor::LastPut(unsigned char const*, std::size_t) {
    try {
        m_filter->MessageEnd();
    } catch (...) {
        IsolatedInitialize(CryptoPP::g_nullNameValuePairs);
        throw;
    }
    m_filter.reset();
}

// --- AESDecryptor ---

AESDecryptor::Err::Err(std::string const& text) : Exception(DATA_INTEGRITY_CHECK_FAILED, text) {}
AESDecryptor::Err::~Err() noexcept = default;

AESDecryptor::KeyBadErr::KeyBadErr() : Err("AESDecryptor: cannot decrypt message with this passphrase") {}
AESDecryptor::KeyBadErr::~KeyBadErr() noexcept = default;

AESDecryptor::AESDecryptor(std::string const& passphrase, BufferedTransformation* attachment,
                           bool throwException)
    : AESDecryptor(bytes_of(passphrase), passphrase.size(), attachment, throwException) {}

AESDecryptor::AESDecryptor(unsigned char const* passphrase, unsigned long length,
                           BufferedTransformation* attachment, bool throwException)
    : ProxyFilter(nullptr, kHeadLength, 0, attachment),
      mState(WaitingForKeyCheck),
      mPassphrase(passphrase, length),
      mThrowException(throwException) {}

AESDecryptor::~AESDecryptor() = default;

void AESDecryptor::InitializeDerived(NameValuePairs const&) {
    m_filter.reset();
    mState = WaitingForKeyCheck;
}

void AESDecryptor::FirstPut(unsigned char const* saltAndKeyCheck) {
    CheckKey(saltAndKeyCheck, saltAndKeyCheck + kSaltLength);
}

void AESDecryptor::CheckKey(unsigned char const* salt, unsigned char const* keyCheck) {
    SecByteBlock expected(kKeyCheckLength);
    GenerateKeyCheck(mPassphrase, salt, expected);
    set_key(mCipher, mPassphrase, salt);

    // A filter that is set puts out to the attachment, so the key check is read back before.
    auto filter = std::make_unique<StreamTransformationFilter>(mCipher);
    SecByteBlock found(kKeyCheckLength);
    filter->Put(keyCheck, kKeyCheckLength);
    filter->ForceNextPut();
    filter->Get(found, found.size());

    mState = CryptoPP::VerifyBufsEqual(expected, found, kKeyCheckLength) ? KeyGood : KeyBad;
    if (mState == KeyBad && mThrowException) {
        throw KeyBadErr();
    }
    SetFilter(filter.release());
}

void AESDecryptor::LastPut(unsigned char const*, std::size_t) {
    if (m_filter.get() == nullptr) {
        mState = KeyBad;
        if (mThrowException) {
            throw KeyBadErr();
        }
        return;
    }
    try {
        m_filter->MessageEnd();
    } catch (...) {
        // Whether the key was good is what the caller wants to know now.
        State const kept = mState;
        IsolatedInitialize(CryptoPP::g_nullNameValuePairs);
        mState = kept;
        throw;
    }
    m_filter.reset();
    mState = WaitingForKeyCheck;
}

// --- AESEncryptorWithMAC ---

AESEncryptorWithMAC::AESEncryptorWithMAC(std::string const& passphrase, BufferedTransformation* attachment)
    : AESEncryptorWithMAC(bytes_of(passphrase), passphrase.size(), attachment) {}

AESEncryptorWithMAC::AESEncryptorWithMAC(unsigned char const* passphrase, unsigned long length,
                                         BufferedTransformation* attachment)
    : ProxyFilter(nullptr, 0, 0, attachment), mMac(NewDefaultEncryptorMAC(passphrase, length)) {
    SetFilter(new HashFilter(*mMac, new AESEncryptor(passphrase, length), true));
}

AESEncryptorWithMAC::~AESEncryptorWithMAC() = default;

void AESEncryptorWithMAC::FirstPut(unsigned char const*) {
    // Whatever an earlier message that failed half-way left in the chain.
    m_filter->Initialize(CryptoPP::MakeParameters(CryptoPP::Name::PutMessage(), true, false));
}

void AESEncryptorWithMAC::LastPut(unsigned char const*, std::size_t) {
    try {
        m_filter->MessageEnd();
    } catch (...) {
        IsolatedInitialize(CryptoPP::g_nullNameValuePairs);
        throw;
    }
}

// --- AESDecryptorWithMAC ---

AESDecryptorWithMAC::MACBadErr::MACBadErr() : Err("AESDecryptorWithMAC: MAC check failed") {}
AESDecryptorWithMAC::MACBadErr::~MACBadErr() noexcept = default;

AESDecryptorWithMAC::AESDecryptorWithMAC(std::string const& passphrase, BufferedTransformation* attachment,
                                         bool throwException)
    : AESDecryptorWithMAC(bytes_of(passphrase), passphrase.size(), attachment, throwException) {}

AESDecryptorWithMAC::AESDecryptorWithMAC(unsigned char const* passphrase, unsigned long length,
                                         BufferedTransformation* attachment, bool throwException)
    : ProxyFilter(nullptr, 0, 0, attachment),
      mMac(NewDefaultEncryptorMAC(passphrase, length)),
      mHashVerifier(nullptr),
      mThrowException(throwException) {
    auto verifier = std::make_unique<InPlaceVerifier>(*mMac);
    mHashVerifier = verifier.get();
    SetFilter(new AESDecryptor(passphrase, length, verifier.release(), throwException));
}

AESDecryptorWithMAC::~AESDecryptorWithMAC() = default;

AESDecryptor::State AESDecryptorWithMAC::CurrentState() const {
    return static_cast<AESDecryptor const*>(m_filter.get())->CurrentState();
}

bool AESDecryptorWithMAC::CheckLastMAC() const { return mHashVerifier->GetLastResult(); }

void AESDecryptorWithMAC::FirstPut(unsigned char const*) {
    // Whatever an earlier message left in the chain, its result with it.
    mMac->Restart();
    m_filter->Initialize(CryptoPP::MakeParameters(CryptoPP::Name::HashVerificationFilterFlags(),
                                                  CryptoPP::word32{kVerifierFlags}, false));
}

void AESDecryptorWithMAC::LastPut(unsigned char const*, std::size_t) {
    try {
        m_filter->MessageEnd();
        if (mThrowException && !CheckLastMAC()) {
            throw MACBadErr();
        }
    } catch (...) {
        IsolatedInitialize(CryptoPP::g_nullNameValuePairs);
        throw;
    }
}

} // namespace OrbuCommon
