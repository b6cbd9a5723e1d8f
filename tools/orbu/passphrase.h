// Where a passphrase comes from: never from the command line, which everybody can read.
#pragma once

#include <cryptopp/secblock.h>

#include <string>

struct PassphraseSource {
    std::string file;    // its first line, without the line's end
    int descriptor = -1; // the same, read byte by byte: what stands behind the line is left there
};

// The passphrase of the source that is given; if none is, whoever sits at the terminal is asked, without
// echo. A new one is asked for twice, and may not be empty. Throws Failure.
CryptoPP::SecByteBlock get_passphrase(PassphraseSource const& source, bool is_new);
