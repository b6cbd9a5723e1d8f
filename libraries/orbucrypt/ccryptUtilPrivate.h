// The keys of CCryptUtil.
#pragma once

#include "orbucrypt/ccryptUtil.h"

#include <cryptopp/secblock.h>

#include <utility>

namespace Orbusdk {

// Turns the stored bytes of a block into the real ones: `count` rotations by one bit to the right, the first
// byte being the most significant; each bit that comes round is turned over in every second step.
void exposeCryptInfo(int count, CryptoPP::SecByteBlock& block);

// A key of 32 bytes and an IV of 16.
std::pair<CryptoPP::SecByteBlock, CryptoPP::SecByteBlock> cryptInfo(CCryptUtil::CryptVersion version);

} // namespace Orbusdk
