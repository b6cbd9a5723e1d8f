// orbu seal, orbu open: the passphrase envelope for files and pipes.
#include "exitCodes.h"
#include "freshFile.h"
#include "interruption.h"
#include "orbucrypt/orbuCommon.h"
#include "passphrase.h"
#include "progress.h"
#include "serviceVerbs.h"
#include "terminal.h"

#include <CLI/CLI.hpp>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using CryptoPP::BufferedTransformation;
using CryptoPP::SecByteBlock;

constexpr size_t kPiece = 256 * 1024;

constexpr char kSealExamples[] =
    R"(The passphrase is asked for twice, on the terminal and without echo. A passphrase file holds it in its first
line; from a descriptor one line is read, and no byte more. FILE and -o can be the same.

Examples:
  orbu seal letter.txt -o letter.sealed
  tar c folder | orbu seal -o folder.tar.sealed
  orbu seal --passphrase-file ~/.secret letter.txt | ssh host 'cat > letter.sealed')";

constexpr char kOpenExamples[] =
    R"(Nothing goes out before the whole envelope has been checked. The file of -o appears when that is done, and what
was there before stands until then. For standard output the sealed bytes are kept meanwhile in a file without a name
in TMPDIR, or in /var/tmp, which needs as much room as the envelope has; no plain text is written there.

An envelope does not tell whether it has a MAC: what was sealed with --no-mac is opened with --no-mac, and then a
change of the data is found by chance only. Opening any other with it leaves the MAC at the end, as 20 bytes more.

Exit code 7: the passphrase is wrong, or the envelope is damaged.

Examples:
  orbu open letter.sealed -o letter.txt
  orbu open folder.tar.sealed | tar x
  orbu open --passphrase-fd 3 letter.sealed 3<secret)";

struct EnvelopeArguments {
    std::string input = "-";
    std::string output = "-";
    PassphraseSource passphrase;
    bool no_mac = false;
};

// Thrown when nobody reads what we write any more.
struct ReaderGone {};

class Descriptor {
public:
    explicit Descriptor(int fd = -1) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    int get() const { return fd_; }

private:
    int fd_;
};

void write_all(int fd, std::string const& name, unsigned char const* bytes, size_t length) {
    while (length > 0) {
        ssize_t const written = ::write(fd, bytes, length);
        if (written < 0 && errno == EPIPE) {
            throw ReaderGone();
        }
        if (written < 0 && errno != EINTR) {
            throw Failure(ExitFailed, "cannot write to " + name + ": " + std::strerror(errno));
        }
        bytes += written > 0 ? written : 0;
        length -= written > 0 ? static_cast<size_t>(written) : 0;
    }
}

// Where a chain ends: what comes is written in large pieces, the last one at the message's end.
class DescriptorSink : public CryptoPP::Bufferless<CryptoPP::Sink> {
public:
    DescriptorSink(int fd, std::string name) : fd_(fd), name_(std::move(name)), buffer_(kPiece) {}

    size_t Put2(unsigned char const* bytes, size_t length, int message_end, bool) override {
        while (length > 0) {
            size_t const part = std::min(length, buffer_.size() - used_);
            std::memcpy(buffer_ + used_, bytes, part);
            used_ += part;
            bytes += part;
            length -= part;
            if (used_ == buffer_.size()) {
                write_out();
            }
        }
        if (message_end != 0) {
            write_out();
        }
        return 0;
    }

private:
    void write_out() { write_all(fd_, name_, buffer_, std::exchange(used_, 0)); }

    int fd_;
    std::string name_;
    SecByteBlock buffer_;
    size_t used_ = 0;
};

struct Input {
    int fd;
    std::string name;
};

// All of the input through the chain; a copy of it to the spool, if there is one.
void pump(Input const& input, char const* what, BufferedTransformation& chain,
          std::optional<Input> const& spool = std::nullopt) {
    struct stat status = {};
    bool const known = ::fstat(input.fd, &status) == 0 && S_ISREG(status.st_mode);
    Progress progress(what, known ? static_cast<std::uint64_t>(status.st_size) : 0);
    std::uint64_t done = 0;
    SecByteBlock piece(kPiece);
    for (;;) {
        ssize_t const got = ::read(input.fd, piece, piece.size());
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            throw Failure(ExitFailed, "cannot read " + input.name + ": " + std::strerror(errno));
        }
        if (got == 0) {
            break;
        }
        auto const length = static_cast<size_t>(got);
        if (spool) {
            write_all(spool->fd, spool->name, piece, length);
        }
        chain.Put(piece, length);
        done += length;
        progress.show(done);
    }
    chain.MessageEnd();
}

Input open_input(std::string const& path, std::optional<Descriptor>& owner) {
    if (path == "-") {
        return {STDIN_FILENO, "standard input"};
    }
    owner.emplace(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (owner->get() < 0) {
        throw Failure(ExitFailed, "cannot open " + one_line(path) + ": " + std::strerror(errno));
    }
    return {owner->get(), one_line(path)};
}

// Where the result goes: a file that appears when it is done, or a stream that takes what comes.
struct Output {
    explicit Output(std::string const& path) : name(one_line(path)) {
        if (path == "-") {
            name = "standard output";
            fd = STDOUT_FILENO;
        } else if (is_special(path)) {
            stream.emplace(::open(path.c_str(), O_WRONLY | O_CLOEXEC | O_NOCTTY));
            fd = stream->get();
            if (fd < 0) {
                throw Failure(ExitFailed, "cannot open " + name + ": " + std::strerror(errno));
            }
        } else {
            file.emplace(path);
            fd = file->fd();
        }
    }

    void commit() {
        if (file) {
            file->commit();
        }
    }

    std::string name;
    std::optional<Descriptor> stream;
    std::optional<FreshFile> file;
    int fd = -1;
};

std::unique_ptr<BufferedTransformation> encryptor(SecByteBlock const& passphrase, bool mac,
                                                  BufferedTransformation* sink) {
    if (mac) {
        return std::make_unique<OrbuCommon::AESEncryptorWithMAC>(passphrase, passphrase.size(), sink);
    }
    return std::make_unique<OrbuCommon::AESEncryptor>(passphrase, passphrase.size(), sink);
}

std::unique_ptr<BufferedTransformation> decryptor(SecByteBlock const& passphrase, bool mac,
                                                  BufferedTransformation* sink) {
    if (mac) {
        return std::make_unique<OrbuCommon::AESDecryptorWithMAC>(passphrase, passphrase.size(), sink);
    }
    return std::make_unique<OrbuCommon::AESDecryptor>(passphrase, passphrase.size(), sink);
}

// The sealed bytes are read twice, and from a place that nobody else can write to, before anything goes out.
void open_to_stream(Input const& input, Output const& output, SecByteBlock const& passphrase, bool mac) {
    std::string folder;
    Descriptor const file(open_spool(folder));
    Input const spool{file.get(), "the temporary file in " + one_line(folder) + " (see TMPDIR)"};
    pump(input, "checking", *decryptor(passphrase, mac, new CryptoPP::BitBucket), spool);
    if (::lseek(spool.fd, 0, SEEK_SET) != 0) {
        throw Failure(ExitFailed, "cannot read " + spool.name + ": " + std::strerror(errno));
    }
    pump(spool, "writing", *decryptor(passphrase, mac, new DescriptorSink(output.fd, output.name)));
}

int seal(EnvelopeArguments const& arguments) {
    interruption::start();
    std::optional<Descriptor> owner;
    Input const input = open_input(arguments.input, owner);
    if (arguments.output == "-" && ::isatty(STDOUT_FILENO) == 1) {
        throw Failure(ExitUsage, "an envelope is no text for a terminal; give -o FILE, or use a pipe");
    }
    Output output(arguments.output);
    SecByteBlock const passphrase = get_passphrase(arguments.passphrase, true);
    pump(input, "sealing",
         *encryptor(passphrase, !arguments.no_mac, new DescriptorSink(output.fd, output.name)));
    output.commit();
    return ExitDone;
}

int open(EnvelopeArguments const& arguments) {
    interruption::start();
    std::optional<Descriptor> owner;
    Input const input = open_input(arguments.input, owner);
    Output output(arguments.output);
    SecByteBlock const passphrase = get_passphrase(arguments.passphrase, false);
    bool const mac = !arguments.no_mac;
    try {
        if (output.file) {
            pump(input, "opening", *decryptor(passphrase, mac, new DescriptorSink(output.fd, output.name)));
        } else {
            open_to_stream(input, output, passphrase, mac);
        }
    } catch (OrbuCommon::AESDecryptor::KeyBadErr const&) {
        throw Failure(ExitBadData, "wrong passphrase, or no envelope: " + input.name);
    } catch (OrbuCommon::AESDecryptorWithMAC::MACBadErr const&) {
        throw Failure(ExitBadData, "damaged, or sealed with --no-mac: " + input.name);
    } catch (CryptoPP::InvalidCiphertext const&) {
        throw Failure(ExitBadData, "damaged or cut short: " + input.name);
    }
    output.commit();
    return ExitDone;
}

void add_verb(CLI::App& app, Action& action, char const* name, char const* what, char const* examples,
              int (*run)(EnvelopeArguments const&)) {
    auto const arguments = std::make_shared<EnvelopeArguments>();
    CLI::App* const verb = app.add_subcommand(name, what);
    verb->footer(examples);
    verb->add_option("FILE", arguments->input, "What to read; - is standard input, which is the default");
    verb->add_option("-o,--output", arguments->output,
                     "What to write; - is standard output, which is the default")
        ->type_name("FILE");
    verb->add_flag("--no-mac", arguments->no_mac,
                   "Without the code at the end that shows whether the data have been changed");
    auto* const file = verb->add_option("--passphrase-file", arguments->passphrase.file,
                                        "Take the passphrase from the first line of this file")
                           ->type_name("FILE")
                           ->check([](std::string const& path) { return path.empty() ? "no file" : ""; }, "");
    verb->add_option("--passphrase-fd", arguments->passphrase.descriptor,
                     "Take the passphrase from the next line of this open descriptor")
        ->type_name("N")
        ->check(CLI::Range(0, 1 << 20), "")
        ->excludes(file);
    verb->callback([arguments, run, &action] {
        action = [arguments, run] {
            try {
                check_source(arguments->passphrase);
                return run(*arguments);
            } catch (ReaderGone const&) {
                return static_cast<int>(ExitDone);
            }
        };
    });
}

} // namespace

void add_envelope_verbs(CLI::App& app, Action& action) {
    add_verb(app, action, "seal", "Seal a file or a stream under a passphrase", kSealExamples, seal);
    add_verb(app, action, "open", "Open what was sealed, if it is whole", kOpenExamples, open);
}
