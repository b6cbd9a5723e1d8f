#include "passphrase.h"

#include "exitCodes.h"
#include "interruption.h"
#include "terminal.h"

#include <cryptopp/misc.h>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

namespace {

using CryptoPP::SecByteBlock;

constexpr size_t kLongest = 4096;

// Up to the line's end, or the file's. None when there is nothing at all.
std::optional<SecByteBlock> read_line(int fd, std::string const& what) {
    SecByteBlock line(kLongest + 1);
    size_t length = 0;
    for (;;) {
        ssize_t const got = ::read(fd, line + length, 1);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            throw Failure(ExitUsage, "cannot read the passphrase from " + what + ": " + std::strerror(errno));
        }
        if (got == 0 && length == 0) {
            return std::nullopt;
        }
        if (got == 0 || line[length] == '\n') {
            return SecByteBlock(line, length);
        }
        length += 1;
        if (length > kLongest) {
            throw Failure(ExitUsage, "the passphrase from " + what + " is longer than " +
                                         std::to_string(kLongest) + " bytes");
        }
    }
}

class Terminal {
public:
    Terminal() : fd_(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)) {
        if (fd_ < 0 || tcgetattr(fd_, &before_) != 0) {
            throw Failure(ExitUsage,
                          "no terminal to ask for the passphrase; give --passphrase-file or --passphrase-fd");
        }
    }
    ~Terminal() { ::close(fd_); }
    Terminal(Terminal const&) = delete;
    Terminal& operator=(Terminal const&) = delete;

    SecByteBlock ask(char const* prompt) const {
        termios quiet = before_;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        quiet.c_lflag |= ECHONL | ICANON | ISIG;
        if (!interruption::set_terminal(fd_, before_, quiet, prompt)) {
            throw Failure(ExitFailed, std::string("cannot keep the terminal quiet: ") + std::strerror(errno));
        }
        struct Loud {
            ~Loud() { interruption::clear_terminal(); }
        } const loud;
        [[maybe_unused]] ssize_t const shown = ::write(fd_, prompt, std::strlen(prompt));
        auto line = read_line(fd_, "the terminal");
        if (!line) {
            throw Failure(ExitUsage, "no passphrase was given");
        }
        return *line;
    }

private:
    int fd_;
    termios before_ = {};
};

SecByteBlock ask(bool is_new) {
    Terminal const terminal;
    SecByteBlock passphrase = terminal.ask("Passphrase: ");
    if (is_new && !passphrase.empty()) {
        SecByteBlock const again = terminal.ask("Once more: ");
        if (again.size() != passphrase.size() ||
            !CryptoPP::VerifyBufsEqual(again, passphrase, passphrase.size())) {
            throw Failure(ExitUsage, "the two passphrases differ");
        }
    }
    return passphrase;
}

// What is typed would be seen here.
SecByteBlock read_source(int fd, std::string const& what) {
    if (::isatty(fd) == 1) {
        throw Failure(ExitUsage,
                      what + " is a terminal; to be asked for the passphrase, do not name a source");
    }
    return read_line(fd, what).value_or(SecByteBlock());
}

SecByteBlock read_file(std::string const& path) {
    int const fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY);
    if (fd < 0) {
        throw Failure(ExitUsage, "cannot open " + one_line(path) + ": " + std::strerror(errno));
    }
    struct Closer {
        int fd;
        ~Closer() { ::close(fd); }
    } const closer{fd};
    return read_source(fd, one_line(path));
}

std::string name_of(int descriptor) { return "descriptor " + std::to_string(descriptor); }

} // namespace

void check_source(PassphraseSource const& source) {
    if (source.descriptor >= 0 && ::fcntl(source.descriptor, F_GETFD) < 0) {
        throw Failure(ExitUsage,
                      "cannot read the passphrase: " + name_of(source.descriptor) + " is not open");
    }
}

SecByteBlock get_passphrase(PassphraseSource const& source, bool is_new) {
    SecByteBlock passphrase;
    if (!source.file.empty()) {
        passphrase = read_file(source.file);
    } else if (source.descriptor >= 0) {
        passphrase = read_source(source.descriptor, name_of(source.descriptor));
    } else {
        passphrase = ask(is_new);
    }
    if (is_new && passphrase.empty()) {
        throw Failure(ExitUsage, "the passphrase is empty");
    }
    return passphrase;
}
