// Where a passphrase comes from: never from the command line, which everybody can read.
#pragma once

#include <cryptopp/secblock.h>

#include <string>

struct PassphraseSource {
    std::string file;    // its first line, without the line's end
    int descriptor = -1; // the same, read byte by byte: what stands behind the line is left there
};

// To be called before any file is opened: it could come to stand under the number of a descriptor that is
// given but not open, and be read for the passphrase. Throws Failure.
void check_source(PassphraseSource const& source);

// The passphrase of the source that is given; if none is, whoever sits at the terminal is asked, without
// echo. A new one is asked for twice, and may not be empty. Throws Failure, for a source too that is a
// terminal.
CryptoPP::SecByteBlock get_passphrase(PassphraseSource const& source, bool is_new);
