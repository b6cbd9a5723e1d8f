#include "freshFile.h"

#include "exitCodes.h"
#include "interruption.h"
#include "terminal.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr mode_t kPrivate = S_IRUSR | S_IWUSR;
constexpr mode_t kPermissions = S_IRWXU | S_IRWXG | S_IRWXO;
constexpr char kTemplate[] = "/.orbu-XXXXXX";

mode_t usual_mode() {
    mode_t const mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

std::string link_of(int fd) { return "/proc/self/fd/" + std::to_string(fd); }

} // namespace

bool is_special(std::string const& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode);
}

FreshFile::FreshFile(std::string const& path) : path_(path) {
    if (std::unique_ptr<char, void (*)(void*)> const real{::realpath(path.c_str(), nullptr), std::free}) {
        path_ = real.get();
    }
    size_t const slash = path_.rfind('/');
    folder_ = slash == std::string::npos ? "." : slash == 0 ? "/" : path_.substr(0, slash);
    struct stat status = {};
    if (::stat(path_.c_str(), &status) == 0) {
        if (::access(path_.c_str(), W_OK) != 0) {
            fail("write");
        }
        mode_ = status.st_mode & kPermissions;
        owner_ = status.st_uid;
        group_ = status.st_gid;
    } else {
        mode_ = usual_mode();
    }
    if (path_.empty() || path_.back() == '/') {
        errno = path_.empty() ? ENOENT : EISDIR;
        fail("write");
    }
    open();
}

FreshFile::~FreshFile() {
    interruption::Hold const hold;
    if (!name_.empty()) {
        ::unlink(name_.c_str());
        interruption::set_file("");
    }
    ::close(fd_);
}

void FreshFile::fail(char const* what) const {
    throw Failure(ExitFailed,
                  std::string("cannot ") + what + " " + one_line(path_) + ": " + std::strerror(errno));
}

void FreshFile::open() {
    interruption::Hold const hold;
#ifdef O_TMPFILE
    fd_ = ::open(folder_.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, kPrivate);
    if (fd_ >= 0 && ::access(link_of(fd_).c_str(), F_OK) == 0) {
        return;
    }
    if (fd_ >= 0) {
        ::close(fd_);
    }
#endif
    std::string name = folder_ + kTemplate;
    fd_ = ::mkostemp(name.data(), O_CLOEXEC);
    if (fd_ < 0) {
        fail("make a file beside");
    }
    name_ = name;
    if (!interruption::set_file(name_)) {
        ::unlink(name_.c_str());
        ::close(fd_);
        errno = ENAMETOOLONG;
        fail("make a file beside");
    }
}

// The file without a name gets one that is free. A name that mkostemp found is the model for it.
void FreshFile::give_name() {
    for (int attempt = 0; name_.empty(); ++attempt) {
        std::string name = folder_ + kTemplate;
        name.replace(name.size() - 6, 6, std::to_string(::getpid()) + "-" + std::to_string(attempt));
        if (::linkat(AT_FDCWD, link_of(fd_).c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            name_ = name;
            interruption::set_file(name_);
        } else if (errno != EEXIST) {
            fail("make a file beside");
        }
    }
}

void FreshFile::commit() {
    if (owner_ != static_cast<uid_t>(-1)) {
        // Who may not give files away keeps this one.
        [[maybe_unused]] int const given = ::fchown(fd_, owner_, group_);
    }
    if (::fchmod(fd_, mode_) != 0 || ::fsync(fd_) != 0) {
        fail("write");
    }
    {
        interruption::Hold const hold;
        give_name();
        if (::rename(name_.c_str(), path_.c_str()) != 0) {
            fail("write");
        }
        name_.clear();
        interruption::set_file("");
    }
    // The new name as well. A folder that cannot be opened or synced has it in the end all the same.
    int const folder = ::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder >= 0) {
        ::fsync(folder);
        ::close(folder);
    }
}

int open_spool(std::string& folder) {
    char const* const given = std::getenv("TMPDIR");
    folder = given != nullptr && *given != '\0' ? given : "/var/tmp";
    interruption::Hold const hold;
    int fd = -1;
#ifdef O_TMPFILE
    fd = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_EXCL | O_CLOEXEC, kPrivate);
#endif
    if (fd < 0) {
        std::string name = folder + kTemplate;
        fd = ::mkostemp(name.data(), O_CLOEXEC);
        if (fd < 0) {
            throw Failure(ExitFailed,
                          "cannot make a file in " + one_line(folder) + ": " + std::strerror(errno));
        }
        ::unlink(name.c_str());
    }
    return fd;
}
