// Hashes of the key types that maps are made with.
//
// They decide the bucket of a key and thereby the order in which a map is walked and marshalled: they are
// part of the format in effect and never change. No mixing is done.
#pragma once

#include "orbuutil/orbuExport.h"

class TStr;

// str_hash of the text: 0 for null and empty text, for more than 8 bytes the first 8 as one little-endian
// word, else the bytes packed by shifts, each widened as a signed char.
ORBU_EXPORT unsigned long hash(TStr const& key);

// The number itself, sign-extended.
inline unsigned long hash(long key) { return static_cast<unsigned long>(key); }
inline unsigned long hash(int key) { return static_cast<unsigned long>(static_cast<long>(key)); }
inline unsigned long hash(char key) { return static_cast<unsigned long>(static_cast<signed char>(key)); }
