#include "orbuutil/tpath.h"

#include "orbuutil/c_path.h"
#include "orbuutil/c_strPrivate.h"
#include "orbuutil/ownersPrivate.h"

#include <climits>
#include <cstring>
#include <unistd.h>

// Copies hold one block together. Its word, zero at first, counts the holders beyond the first.
struct TPath::Block {
    unsigned long sharers;
};

namespace {

int modeBits(int mode) { return mode & 0xFFFF; }

// The path's object; an adopted null handle gets one first, so that there is something to put text in.
str* objectOf(TPath& path) {
    if (path.handle() == nullptr) {
        static_cast<TStr&>(path) = TStr(); // an empty copy
        path.clear();
    }
    return path.handle();
}

} // namespace

TPath::TPath() : mBlock(nullptr) {}

TPath::TPath(const char* utf8) : TStr(utf8), mBlock(nullptr) {}

TPath::TPath(const TStr& path) : TStr(path), mBlock(nullptr) {}

TPath::TPath(const TPath& other) : TStr(other), mBlock(other.mBlock) {
    if (mBlock != nullptr) {
        ++mBlock->sharers;
    }
}

TPath::TPath(void* const& adopted) : TStr(adopted), mBlock(nullptr) {}

TPath::~TPath() {
    if (mBlock != nullptr && mBlock->sharers-- == 0) {
        delete mBlock;
    }
}

TPath::operator void*() const { return handle(); }

void TPath::initPrivate() {
    if (mBlock == nullptr) {
        mBlock = new Block{};
    }
}

TPath& TPath::operator=(const TPath& other) {
    if (this != &other) {
        TStr::operator=(other);
    }
    return *this;
}

TPath& TPath::operator=(const TStr& path) {
    TStr::operator=(path);
    return *this;
}

TPath& TPath::operator=(const char* utf8) { return *this = TStr(utf8); }

bool TPath::operator==(const TPath& other) const { return TStr::operator==(other); }

bool TPath::operator==(const TStr& path) const { return TStr::operator==(path); }

bool TPath::operator==(const char* utf8) const { return TStr::operator==(utf8); }

bool TPath::operator!=(const TPath& other) const { return TStr::operator!=(other); }

bool TPath::operator!=(const TStr& path) const { return TStr::operator!=(path); }

bool TPath::operator!=(const char* utf8) const { return TStr::operator!=(utf8); }

TPath TPath::operator+(const TPath& part) const { return *this + static_cast<const TStr&>(part); }

TPath TPath::operator+(const TStr& part) const {
    TPath result(*this);
    result += part;
    return result;
}

TPath TPath::operator+(const char* part) const { return *this + TStr(part); }

TPath& TPath::operator+=(const TPath& part) { return push(part); }

TPath& TPath::operator+=(const TStr& part) { return push(part); }

TPath& TPath::operator+=(const char* part) { return push(TStr(part)); }

TPath& TPath::push(const TStr& part) {
    path_push(objectOf(*this), part.handle());
    return *this;
}

TPath& TPath::unshift(const TStr& part) {
    path_unshift(objectOf(*this), part.handle());
    return *this;
}

TPath TPath::pop() { return TPath(path_pop(handle())); }

TPath TPath::shift() { return TPath(path_shift(handle())); }

bool TPath::cdUp() {
    StrOwner const dropped(path_pop(handle()));
    return true;
}

void TPath::setFile(const TStr& path) { str_cpy(path.handle(), objectOf(*this)); }

TStr TPath::baseName() { return TStr(path_basename(handle())); }

TStr TPath::extension() { return TStr(path_ext(handle())); }

TPath TPath::absFilePath() const { return TPath(path_absolute(handle())); }

TPath TPath::absPath() const { return absFilePath(); }

TPath TPath::absFilePath(const TStr& name) const {
    TPath result(absFilePath());
    result.push(name);
    return result;
}

TPath TPath::dirPath(bool absolute) const {
    TPath result(absolute ? absFilePath() : *this);
    result.cdUp();
    return result;
}

TPath TPath::dirName() { return dirPath(false); }

bool TPath::exists() const {
    if (isEmpty()) {
        return false;
    }
    if (std::strchr(handle()->text, '\\') == nullptr) {
        return path_exists(handle()) == 1; // nothing to localise, no copy to make: waits ask this every round
    }
    StrOwner const copy(str_dup(handle()));
    return path_exists(copy.get()) == 1;
}

bool TPath::isFile() const { return path_is_file(handle()) == 1; }

bool TPath::isDir() const { return path_is_dir(handle()) == 1; }

bool TPath::isWritable() const { return path_is_writable(handle()) == 1; }

bool TPath::isReadable() const { return path_is_readable(handle()) == 1; }

long TPath::size() const { return path_size(handle()); }

bool TPath::mkdir(int mode) { return path_mkdir(handle(), modeBits(mode)) == 1; }

bool TPath::mkpath(int mode) {
    if (exists()) {
        return true;
    }
    if (length() >= PATH_MAX) {
        return false; // never to be had, and each component takes a level of the stack
    }
    TPath parent(*this);
    TPath const last(parent.pop());
    if (!parent.isEmpty() && !parent.exists() && !parent.mkpath(mode)) {
        return false;
    }
    if (!last.isEmpty()) {
        path_mkdir(handle(), modeBits(mode));
    }
    return exists();
}

int TPath::remove() { return path_unlink(handle()); }

TPath TPath::appPath(const char* argv0) {
    static TPath folder;
    if (folder.isEmpty()) {
        char current[2048] = {};
        if (::getcwd(current, sizeof current) == nullptr) {
            current[0] = '\0';
        }
        folder = current;
        TPath const given(argv0 != nullptr ? argv0 : "");
        TPath const candidate(path_is_absolute(given.handle()) == 1 ? given : folder.absFilePath(given));
        if (candidate.exists()) {
            folder = candidate.dirPath(true);
        }
    }
    return folder;
}
