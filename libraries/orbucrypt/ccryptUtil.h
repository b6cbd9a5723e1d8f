// Texts that are not to be readable at a glance, under keys of the program: CCryptUtil, encrypt_log.
//
// The keys are in the library, so this keeps a log from being read by the way; it keeps no secret from
// somebody who has the library, and nothing protects the text from change. For that there is the envelope of
// orbuCommon.h. No state is kept, and keys and temporaries are wiped: any thread may call at any time.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

#include <string>

namespace Orbusdk {

class ORBU_EXPORT CCryptUtil {
public:
    // Which of the library's keys. Any other value means the first.
    enum CryptVersion : int {
        CryptVersion1 = 1,
        CryptVersion2 = 2,
    };

    // The base64 text, in one line, of the bytes of `text` under AES-256-CBC with PKCS padding.
    static std::string Encrypt(std::string const& text, CryptVersion version);

    // The reverse. What is no base64 digit is passed over. Throws Crypto++'s InvalidCiphertext for what is no
    // whole number of blocks and for a bad padding, which is what the wrong version mostly shows as.
    static std::string Decrypt(std::string const& text, CryptVersion version);
};

// Sets `out` to "ENCODED{", the text `in` encrypted under version 1, and "}". The two may be one object. For
// text that goes into a log and should not be read there; nothing in this library turns it back.
ORBU_EXPORT void encrypt_log(TStr const& in, TStr& out);

// The UTF-8 bytes of the text; none for a null text. They are not wiped: that is the caller's.
ORBU_EXPORT std::string convertTStrtoStdString(TStr const& text);

} // namespace Orbusdk
