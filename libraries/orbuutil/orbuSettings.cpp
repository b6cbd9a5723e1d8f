#include "orbuutil/orbuSettings.h"

#include "orbuutil/orbuMutex.h"
#include "orbuutil/orbuSettingsPrivate.h"
#include "orbuutil/ownersPrivate.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <tinyxml2.h>
#include <unistd.h>
#include <utility>

namespace {

constexpr mode_t folderMode = 0770;
constexpr mode_t newFileMode = 0666;
constexpr mode_t sharedFileMode = 0666;
constexpr mode_t sharedFolderMode = 0777;

TStr composite(TStr const& section, TStr const& key) {
    void* const made =
        private_settings_composite(private_settings_bytes(section), private_settings_bytes(key));
    return TStr(made);
}

// A composite key, cut at its last two separators.
struct Pieces {
    explicit Pieces(TStr const& whole) {
        std::string_view rest = private_settings_bytes(whole);
        key = take(rest);
        section = take(rest);
    }

    std::string_view section;
    std::string_view key;

private:
    static std::string_view take(std::string_view& rest) {
        auto const slash = rest.rfind(OrbuSettings::kSlash[0]);
        std::string_view const last = slash == std::string_view::npos ? rest : rest.substr(slash + 1);
        rest = slash == std::string_view::npos ? std::string_view() : rest.substr(0, slash);
        return last;
    }
};

TStr textOf(std::string_view bytes) { return TStr(bytes.data(), static_cast<long>(bytes.size()), STR_UTF8); }

// Whether a composite key belongs to what is asked for with "name/".
bool matches(TStr const& key, std::string_view filter) {
    return private_settings_bytes(key).find(filter) != std::string_view::npos;
}

// The store's mutex, held to the end of the scope; without one when it cannot be opened.
class HeldMutex {
public:
    explicit HeldMutex(TStr const& file) {
        if (mutex.Open(OrbuSettings::formatMutexName(file))) {
            mutex.Lock(-1);
        }
    }

private:
    OrbuMutex mutex;
};

// flock(2) on a descriptor to the end of the scope. It is given back in so many words, since a child that was
// forked meanwhile has the descriptor too.
class HeldFile {
public:
    HeldFile(int descriptor, int kind) : fd(descriptor) {
        while (::flock(fd, kind) != 0 && errno == EINTR) {
        }
    }
    HeldFile(HeldFile const&) = delete;
    HeldFile& operator=(HeldFile const&) = delete;
    ~HeldFile() { ::flock(fd, LOCK_UN); }

private:
    int const fd;
};

// The bytes of a file, under its lock. Only a regular one: another may block, or have no end.
bool readText(TPath const& pathname, std::string& text) {
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): asking localises it
    TPath const place(pathname);
    UniqueFd const fd(
        place.isFile() ? ::open(private_str_text_or_empty(place.handle()), O_RDONLY | O_CLOEXEC | O_NONBLOCK)
                       : -1);
    if (!fd) {
        return false;
    }
    HeldFile const held(fd.get(), LOCK_SH);
    struct stat info = {};
    ssize_t got = ::fstat(fd.get(), &info);
    if (got == 0) {
        text.resize(static_cast<std::size_t>(info.st_size));
        std::size_t length = 0;
        do {
            got = ::read(fd.get(), text.data() + length, text.size() - length);
            length += got > 0 ? static_cast<std::size_t>(got) : 0;
        } while ((got > 0 && length < text.size()) || (got < 0 && errno == EINTR));
        text.resize(length);
    }
    return got >= 0;
}

// What the document reads as in a file.
struct Printed {
    Printed() : file(::open_memstream(&bytes, &size)) {}
    Printed(Printed const&) = delete;
    Printed& operator=(Printed const&) = delete;
    ~Printed() {
        file.reset();
        std::free(bytes);
    }

    bool flush() { return file && std::fflush(file.get()) == 0; }

    char* bytes = nullptr; // after flush(), with a zero byte behind
    std::size_t size = 0;
    UniqueFile file;
};

// Writes all, with few calls. False when the system does not take it.
bool writeWhole(int fd, const char* bytes, std::size_t size) {
    std::size_t done = 0;
    while (done < size) {
        ssize_t const written = ::write(fd, bytes + done, size - done);
        if (written < 0 && errno != EINTR) {
            return false;
        }
        done += written > 0 ? static_cast<std::size_t>(written) : 0;
    }
    return true;
}

// Replaces the file's text. The room is reserved first, so that a full disk loses nothing; then one call
// writes the text and a zero byte, where a reader stops, and what is behind goes last. A place that is no
// regular file has nothing to reserve or cut.
bool replaceText(int fd, Printed const& printed) {
    struct stat before = {};
    if (::fstat(fd, &before) != 0 || !S_ISREG(before.st_mode)) {
        return writeWhole(fd, printed.bytes, printed.size);
    }
    int const reserved = ::posix_fallocate(fd, 0, static_cast<off_t>(printed.size + 1));
    bool const written = reserved != ENOSPC && reserved != EDQUOT && reserved != EFBIG && reserved != EIO &&
                         writeWhole(fd, printed.bytes, printed.size + 1);
    off_t const length = written ? static_cast<off_t>(printed.size) : before.st_size;
    int cut = 0;
    do {
        cut = ::ftruncate(fd, length);
    } while (cut != 0 && errno == EINTR);
    return written && cut == 0;
}

} // namespace

bool private_settings_open_to_all(int fd, TPath const& folder) {
    if (::fchmod(fd, sharedFileMode) != 0) {
        return false;
    }
    DIR* const handle = ::opendir(private_str_text_or_empty(folder.handle()));
    if (handle == nullptr) {
        return false;
    }
    bool const changed = ::fchmod(::dirfd(handle), sharedFolderMode) == 0;
    return ::closedir(handle) == 0 && changed;
}

OrbuSettings::OrbuSettings(bool shared)
    : sharedAmongUsers(shared),
      _bIsLoaded(false),
      document(new tinyxml2::XMLDocument),
      _pXmlRoot(nullptr),
      mIsAsRead(false),
      mErrorLine(0) {}

OrbuSettings::~OrbuSettings() { refresh(false); }

TStr OrbuSettings::formatMutexName(TStr const& file) {
    TStr const base = TPath(file).baseName();
    return base.isEmpty() ? TStr() : TStr("/%1%2").arg(static_cast<long>(::getuid())).arg(base);
}

bool OrbuSettings::refresh(bool keepPending) {
    _bIsLoaded = false;
    _pXmlRoot = nullptr;
    sectionCache.clear();
    dataCache.clear();
    document->Clear();
    mIsAsRead = false;
    mText.clear();
    values.clear();
    mErrorText.clear();
    mErrorLine = 0;
    if (!keepPending) {
        path.clear();
        pendingSet.clear();
        pendingRemove.clear();
    }
    return true;
}

// Keeps why something was not done, or with nothing to say that it was.
bool OrbuSettings::fail(TStr const& text, int line) {
    mErrorText = text;
    mErrorLine = line;
    return false;
}

// tinyxml2's name for what is wrong, as words: XML_ERROR_MISMATCHED_ELEMENT is "mismatched element".
bool OrbuSettings::failParsing() {
    std::string words = document->ErrorName();
    for (std::string_view const prefix : {"XML_", "ERROR_"}) {
        if (words.starts_with(prefix)) {
            words.erase(0, prefix.size());
        }
    }
    std::replace(words.begin(), words.end(), '_', ' ');
    return fail(TStr(words.c_str()).lower(), document->ErrorLineNum());
}

bool OrbuSettings::open(TPath const& pathname, bool keepPending) {
    ORBU_SETTINGS_ASSERT(!pathname.isEmpty());
    const char* const pPath = pathname.toUtf8();
    ORBU_SETTINGS_ASSERT_POINTER(pPath);
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): it may be our own `path`
    TPath const wanted(pathname);
    if (!wanted.exists()) {
        refresh(keepPending);
        setupEmptyXmlDoc();
        if (!keepPending) {
            path = wanted;
        }
        return !path.isEmpty();
    }
    HeldMutex const mutex(wanted);
    bool loaded = false;
    try {
        loaded = load(wanted, keepPending);
    } catch (...) {
        refresh(keepPending);
        throw;
    }
    if (loaded && !keepPending) {
        path = wanted;
    }
    return loaded;
}

// Reads a file that is there. A text that is still what the document was made from needs no second document:
// most saves find it so.
bool OrbuSettings::load(TPath const& pathname, bool keepPending) {
    std::string text;
    bool const read = readText(pathname, text);
    if (read && keepPending && mIsAsRead && text == mText) {
        fail({}, 0);
        return true;
    }
    refresh(keepPending);
    if (!read) {
        return fail("it is no file that can be read", 0);
    }
    if (document->Parse(text.data(), text.size()) != tinyxml2::XML_SUCCESS) {
        return failParsing();
    }
    mIsAsRead = readElements();
    mText.swap(text);
    return mIsAsRead;
}

bool OrbuSettings::parse(TStr const& xmlStr, bool keepPending) {
    ORBU_SETTINGS_ASSERT(!xmlStr.isEmpty());
    refresh(keepPending);
    std::string_view const bytes = private_settings_bytes(xmlStr);
    if (document->Parse(bytes.data(), bytes.size()) != tinyxml2::XML_SUCCESS) {
        return failParsing();
    }
    return readElements();
}

bool OrbuSettings::save(TPath const& outFile) {
    ORBU_SETTINGS_ASSERT(_bIsLoaded && !outFile.isEmpty());
    fail({}, 0);
    if (!path.isEmpty() && !open(path, true)) {
        return false;
    }
    HeldMutex const mutex(outFile);
    commit();
    if (_pXmlRoot != nullptr && _pXmlRoot->NoChildren()) {
        return fail("nothing is left in the store", 0); // hosts depend on the file that stays
    }
    return write(outFile);
}

bool OrbuSettings::write(TPath const& outFile) {
    TPath place(outFile);
    TPath folder = place.dirName();
    if (!folder.isEmpty() && !folder.exists() && !folder.mkpath(folderMode)) {
        return fail("the folder cannot be made", 0);
    }
    UniqueFd const fd(
        ::open(private_str_text_or_empty(place.handle()), O_WRONLY | O_CREAT | O_CLOEXEC, newFileMode));
    if (!fd) {
        return fail("the file cannot be opened for writing", 0);
    }
    HeldFile const held(fd.get(), LOCK_EX);
    Printed printed;
    // The status, 0 for success, is taken as a truth value: hosts depend on the false result of a success,
    // and on permissions that stay as they are.
    bool const taken = printed.file && document->SaveFile(printed.file.get(), false) != tinyxml2::XML_SUCCESS;
    if (!printed.flush() || !replaceText(fd.get(), printed)) {
        return fail("there is no room to write the file", 0);
    }
    return taken && (!sharedAmongUsers || private_settings_open_to_all(fd.get(), folder));
}

bool OrbuSettings::getData(TStr const& name, TStr const& key, TStr& value) {
    value.clear();
    ORBU_SETTINGS_ASSERT(!name.isEmpty() && !key.isEmpty());
    TStr const wanted = composite(name, key);
    for (auto const* map : {&pendingSet, &values}) { // pendingRemove has no say here
        if (auto const found = map->find(wanted); found != map->end()) {
            value = found->second;
            return true;
        }
    }
    return false;
}

bool OrbuSettings::setData(TStr const& name, TStr const& key, TStr const& value) {
    ORBU_SETTINGS_ASSERT(!name.isEmpty() && !key.isEmpty() && !value.isEmpty());
    TStr const changed = composite(name, key);
    pendingRemove.erase(changed);
    pendingSet.insert_or_assign(changed, value);
    return true;
}

bool OrbuSettings::removeData(TStr const& name, TStr const& key) {
    ORBU_SETTINGS_ASSERT(!name.isEmpty() && !key.isEmpty());
    TStr const removed = composite(name, key);
    if (auto const pending = pendingSet.find(removed); pending != pendingSet.end()) {
        pendingRemove.insert_or_assign(removed, pending->second);
        pendingSet.erase(pending);
        return true;
    }
    auto const stored = values.find(removed);
    if (stored == values.end()) {
        return false;
    }
    pendingRemove.insert_or_assign(removed, stored->second);
    return true;
}

bool OrbuSettings::getSection(TStr const& name, std::map<TStr, TStr>& out) {
    ORBU_SETTINGS_ASSERT(!name.isEmpty());
    std::map<TStr, TStr> found; // `name` may be in `out`
    TStr const prefix = composite(name, {});
    std::string_view const filter = private_settings_bytes(prefix);
    for (auto const& [stored, value] : values) {
        TStr const dataKey = textOf(Pieces(stored).key);
        if (matches(stored, filter) && !dataKey.isEmpty()) { // files may hold anything
            found.insert_or_assign(dataKey, value);
        }
    }
    for (auto const& [changed, value] : pendingSet) {
        if (matches(changed, filter)) {
            TStr const dataKey = textOf(Pieces(changed).key);
            ORBU_SETTINGS_ASSERT(!dataKey.isEmpty());
            found.insert_or_assign(dataKey, value);
        }
    }
    for (auto const& [removed, value] : pendingRemove) {
        if (matches(removed, filter)) {
            found.erase(textOf(Pieces(removed).key));
        }
    }
    out.swap(found);
    return true;
}

bool OrbuSettings::removeSection(TStr const& name) {
    ORBU_SETTINGS_ASSERT(!name.isEmpty());
    TStr const prefix = composite(name, {});
    std::string_view const filter = private_settings_bytes(prefix);
    // A change that is dropped has its value remembered before the stored one.
    std::map<TStr, TStr> collected;
    for (auto pending = pendingSet.begin(); pending != pendingSet.end();) {
        if (matches(pending->first, filter)) {
            collected.insert(*pending);
            pending = pendingSet.erase(pending);
        } else {
            ++pending;
        }
    }
    for (auto const& stored : values) {
        if (matches(stored.first, filter)) {
            collected.insert(stored);
        }
    }
    for (auto const& [removed, value] : collected) {
        pendingRemove.insert_or_assign(removed, value);
    }
    return true;
}

bool OrbuSettings::commit() {
    ORBU_SETTINGS_ASSERT(_bIsLoaded);
    mIsAsRead = mIsAsRead && pendingSet.empty() && pendingRemove.empty();
    for (auto const& [changed, value] : pendingSet) {
        Pieces const pieces(changed);
        TStr const sectionName = textOf(pieces.section);
        TStr const dataKey = textOf(pieces.key);
        ORBU_SETTINGS_ASSERT(!sectionName.isEmpty() && !dataKey.isEmpty());
        setXmlData(sectionName, dataKey, value);
    }
    for (auto const& removed : pendingRemove) {
        Pieces const pieces(removed.first);
        TStr const sectionName = textOf(pieces.section);
        TStr const dataKey = textOf(pieces.key);
        ORBU_SETTINGS_ASSERT(!sectionName.isEmpty() && !dataKey.isEmpty());
        removeXmlData(sectionName, dataKey);
    }
    return true;
}
