// The text of a custom environment file.
#pragma once

#include <string>

namespace support {

inline std::string key(std::string const& id, std::string const& value) {
    return "<KEY ID=\"" + id + "\"><STRING>" + value + "</STRING></KEY>";
}

inline std::string platform(std::string const& keys, std::string const& os = "Mac") {
    return "<PLATFORM OS=\"" + os + "\">" + keys + "</PLATFORM>";
}

inline std::string customEnv(std::string const& platforms) {
    return "<ORBUCUSTOMENV>" + platforms + "</ORBUCUSTOMENV>";
}

} // namespace support
