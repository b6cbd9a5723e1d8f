#include "orbuutil/orbuUtilCustomEnv.h"

#include "orbuutil/orbuUtilPrivate.h"
#include "orbuutil/ownersPrivate.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <new>
#include <string_view>
#include <tinyxml2.h>

namespace {

constexpr char thin_client_variable[] = "VEXMOOR_ORBU_THINCLIENT_ENV";
constexpr char custom_variable[] = "VEXMOOR_ORBU_CUSTOM_ENV";

// Expansion ends when so many bytes have been gone through, the value's length for each reference: a variable
// that names itself has no end of its own.
constexpr size_t most_bytes = 16 << 20;

bool begins_character(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

long characters_in(std::string_view text) {
    long count = 0;
    for (char const byte : text) {
        count += begins_character(byte) ? 1 : 0;
    }
    return count;
}

// The byte at which character `index` begins, or the length of the text.
size_t offset_of(std::string_view text, long index) {
    for (size_t at = 0; at < text.size(); ++at) {
        if (begins_character(text[at]) && index-- == 0) {
            return at;
        }
    }
    return text.size();
}

// The character at or behind `start` where `what` is, or -1.
long find_from(std::string_view text, std::string_view what, long start) {
    size_t const found = what.empty() ? text.npos : text.find(what, start > 0 ? offset_of(text, start) : 0);
    return found == text.npos ? -1 : characters_in(text.substr(0, found));
}

// Replaces "$NAME" by the environment's texts. The position is one of characters throughout: a replacement
// in front of it moves it in the text, as the first of several equal references is the one replaced.
std::string expanded(std::string value) {
    size_t bytes = 0;
    long pos = find_from(value, "$", 0);
    while (pos >= 0 && bytes <= most_bytes) {
        bytes += value.size();
        if (characters_in(value) == pos + 1) {
            break;
        }
        std::string token = value.substr(offset_of(value, pos));
        token.resize(std::min(token.size(), token.find('/')));
        std::string const name = token.substr(1);
        if (char const* const text = std::getenv(name.c_str())) {
            value.replace(value.find(token), token.size(), text);
        } else {
            std::printf("Environment variable %s could not be found\n", name.c_str());
        }
        pos = characters_in(value) > pos ? find_from(value, "$", pos + 1) : -1;
    }
    return value;
}

// Without waiting for whoever might write to a FIFO.
UniqueFile open_to_read(char const* path) {
    UniqueFd fd(::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
    UniqueFile file(fd ? ::fdopen(fd.get(), "rb") : nullptr);
    if (file) {
        fd.release();
    }
    return file;
}

// Fills the document. A file that is larger than memory is an unusable one.
bool parsed(tinyxml2::XMLDocument& document, std::FILE* file) {
    try {
        return document.LoadFile(file) == tinyxml2::XML_SUCCESS;
    } catch (std::bad_alloc const&) {
        document.Clear();
        return false;
    }
}

// The STRING of the first KEY of this id that has one.
tinyxml2::XMLElement const* string_of_key(tinyxml2::XMLElement const& platform, std::string const& key) {
    for (auto const* at = platform.FirstChildElement("KEY"); at; at = at->NextSiblingElement("KEY")) {
        char const* const id = at->Attribute("ID");
        if (id != nullptr && key == id) {
            if (auto const* const found = at->FirstChildElement("STRING")) {
                return found;
            }
        }
    }
    return nullptr;
}

} // namespace

COrbuUtilCustomEnv::COrbuUtilCustomEnv()
    : platform("Mac"),
      document(std::make_unique<tinyxml2::XMLDocument>()),
      loaded(0),
      load_pending(1),
      thin_client(0),
      load_status(-1) {}

COrbuUtilCustomEnv::~COrbuUtilCustomEnv() = default;

int COrbuUtilCustomEnv::failed(int result) {
    load_status = result;
    return result;
}

int COrbuUtilCustomEnv::loadConfigFile() {
    load_pending = 0;
    if (loaded != 0) {
        document->Clear();
        loaded = 0;
        thin_client = 0;
        load_status = -1;
    }

    char const* path = std::getenv(thin_client_variable);
    bool const thin = path != nullptr;
    if (!thin) {
        path = std::getenv(custom_variable);
    }
    if (path == nullptr) {
        return failed(NotConfigured);
    }
    int const unusable = thin ? ThinClientUnusable : CustomFileUnusable;
    UniqueFile const file = open_to_read(path);
    if (!file || !parsed(*document, file.get())) {
        return failed(unusable);
    }
    thin_client = thin ? 1 : 0;
    loaded = 1;
    load_status = Loaded;
    return load_status;
}

TStr COrbuUtilCustomEnv::getStringValue(const TStr& key) {
    if (key.isEmpty()) {
        return TStr("");
    }
    // The call that brings about the load gets nothing; hosts depend on it.
    if (load_pending != 0 && loadConfigFile() == Loaded) {
        return TStr("");
    }
    if (loaded == 0) {
        return TStr("");
    }

    std::string const id = private_bytes(key);
    std::string const wanted = private_bytes(platform);
    char const* value = nullptr;
    auto const* const root = document->FirstChildElement("ORBUCUSTOMENV");
    auto const* at = root != nullptr ? root->FirstChildElement("PLATFORM") : nullptr;
    for (; at != nullptr; at = at->NextSiblingElement("PLATFORM")) {
        char const* const os = at->Attribute("OS");
        auto const* const found = os != nullptr && wanted == os ? string_of_key(*at, id) : nullptr;
        if (found != nullptr && found->GetText() != nullptr) {
            value = found->GetText();
        }
    }
    return value != nullptr ? TStr(expanded(value).c_str()) : TStr("");
}

int COrbuUtilCustomEnv::findString(const TStr& text, const TStr& what, int start) const {
    return static_cast<int>(find_from(private_bytes(text), private_bytes(what), start));
}
