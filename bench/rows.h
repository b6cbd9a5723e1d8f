// The rows of the comparison. A benchmark is named row/variant.../who, `who` being "ours" or a peer;
// report.py puts the ones that differ in `who` alone beside each other.
#pragma once

#include <string>

void registerTextRows();      // escaped text form, placeholders
void registerUnicodeRows();   // UTF-8 to UTF-16LE and back
void registerTableRows();     // looking up a key
void registerPacketRows();    // a packet built, written and read
void registerScaleRows();     // cost at n and at 2n
void registerTransportRows(); // request and reply, waiting, idling
void registerLoadRows();      // the library loaded and not used
void registerEnvelopeRows();  // sealing and opening, beside the primitives called by hand
void registerLogRows();       // an entry in a log
void registerSettingsRows();  // a settings file loaded, changed and saved

// A text of at least `bytes` bytes, of whole characters. Kinds: "ascii", "latin", "cjk", "sentence".
std::string sampleText(const std::string& kind, unsigned long bytes);
