// A file that is there whole or not at all.
#pragma once

#include <string>
#include <sys/types.h>

// Whether the path names something that is written into as it is: a device, a FIFO, a socket, a folder even.
bool is_special(std::string const& path);

// A new file for the place of `path`, or what was there before keeps standing. It has no name until commit()
// where the system can do that, so that nothing is left of it however the process ends; elsewhere it stands
// beside the place, hidden, and is removed by the destructor and by signals (see interruption.h). What stands
// at the place must be writable; through a symbolic link, the link's end is the place. All throw Failure.
class FreshFile {
public:
    explicit FreshFile(std::string const& path);
    ~FreshFile();
    FreshFile(FreshFile const&) = delete;
    FreshFile& operator=(FreshFile const&) = delete;

    int fd() const { return fd_; }

    // On disk (fsync), with the mode of the file before or the usual one, and in its place (rename).
    void commit();

private:
    void open();
    void give_name();
    [[noreturn]] void fail(char const* what) const;

    std::string path_; // the place
    std::string folder_;
    std::string name_; // what it is called meanwhile; empty: it has no name
    mode_t mode_ = 0;
    uid_t owner_ = static_cast<uid_t>(-1);
    gid_t group_ = static_cast<gid_t>(-1);
    int fd_ = -1;
};

// A file without a name, for the time being, in TMPDIR or in /var/tmp. Gone with the descriptor, which the
// caller closes.
int open_spool(std::string& folder);
