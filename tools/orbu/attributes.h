// Attributes between the command line, a packet, and what is printed.
#pragma once

#include "orbuutil/tlist.h"
#include "orbuutil/tstr.h"

#include <string>
#include <vector>

class QMXDictionary;
class QMXPipePacket;

// The bytes of a text.
std::string bytes_of(TStr const& text);
std::vector<std::string> items_of(TList<TStr> const& list);

// Names the packet by "facility.code". Throws Failure (usage) for anything that is no such name.
void set_name(QMXPipePacket& packet, std::string const& name);

// Sets the packet's attributes from "key=text" and "key:=JSON". Throws Failure: usage for what has no "=" or
// a key that cannot travel, bad data for a value that cannot. Values that lose something on the way are told
// on standard error.
void set_attributes(QMXPipePacket& packet, std::vector<std::string> const& arguments);

// The attributes in wire order, one a line: "key=value", or with `json` an object of typed values. As plain
// text a list is a JSON array and a dictionary a JSON object, and control characters are escaped.
std::string attributes_text(QMXPipePacket const& packet, bool json);

// Names one a line, or with `json` as an array.
std::string names_text(std::vector<std::string> const& names, bool json);
