// orbuSTRING: a text as hosts hand it over and take it.
//
// The library never owns one. Conversions: OrbuUtil::orbuSTRINGToTStr and TStrToorbuSTRING.
#pragma once

struct orbuSTRING {
    unsigned short* data; // 16-bit code units, of UTF-16 in little-endian order
    int length;           // in units; -1: up to a zero unit
};
