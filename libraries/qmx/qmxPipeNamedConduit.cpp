#include "qmx/qmxPipeNamedConduit.h"

#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include "orbuutil/ownersPrivate.h"
#include "orbuutil/tlock.h"
#include "orbuutil/tpath.h"
#include "orbuutil/tprocess.h"
#include "qmx/qmxLogPrivate.h"
#include "qmx/qmxPipeEndpoint.h"
#include "qmx/qmxPipeFile.h"
#include "qmx/qmxPipePacket.h"
#include "qmx/qmxPipeSession.h"

constinit long QMXPipeNamedConduit::altPID = 0;

namespace {

constexpr long kRoundMicroseconds = 100;
constexpr int kRegisterRounds = 5000;
constexpr long kWriterMicroseconds = 2000000;
// A file changed this lately may change again without its time stamps showing it.
constexpr long kSettledSeconds = 2;
// More than this in an id file is no number.
constexpr size_t kIdFileLimit = 65536;

long client_id() { return QMXPipeNamedConduit::altPID != 0 ? QMXPipeNamedConduit::altPID : getpid(); }

long microseconds_now() {
    struct timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000 + now.tv_nsec / 1000;
}

TPath path_in(TPath const& prefix, long index) { return prefix + TPath(TStr::number(index, 10)); }

bool same_file(struct stat const& a, struct stat const& b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size &&
           a.st_ctim.tv_sec == b.st_ctim.tv_sec && a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

// The id file, read once and then only watched: its number is good as long as stat(2) shows the file
// unchanged.
class ServerFile {
public:
    explicit ServerFile(TPath const& path) : path_(path.toUtf8()) {}

    bool names_live_process() {
        struct stat now;
        if (::stat(path_.c_str(), &now) != 0) {
            settled_ = false;
            return false;
        }
        if (!settled_ || !same_file(now, seen_)) {
            read_number(now);
        }
        if (pid_ == 0) {
            return false;
        }
        if (process_.status() == 0) {
            return bound_ == 0 || bound_ == pid_;
        }
        ::unlink(path_.c_str());
        settled_ = false;
        return false;
    }

    // From now on only this process counts: another server that takes the prefix later knows nothing of what
    // was asked of this one, and a wait that took it for this one would never end.
    void bind(int pid) { bound_ = pid; }
    int pid() const { return pid_; }

private:
    void read_number(struct stat const& now) {
        struct timespec clock;
        clock_gettime(CLOCK_REALTIME, &clock);
        seen_ = now;
        settled_ = clock.tv_sec - now.st_ctim.tv_sec > kSettledSeconds;

        bool ok = false;
        std::string const text = content();
        long const number = TStr(text.data(), static_cast<long>(text.size()), STR_ASCII).toLong(&ok, 10);
        int const pid = ok ? static_cast<int>(number) : 0;
        if (pid != 0 && pid != pid_) {
            process_ = TProcess(pid);
        }
        pid_ = pid;
    }

    std::string content() const {
        std::string text;
        UniqueFd const file(::open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
        if (file.get() < 0) {
            qmxLogError("Could not open file %1 : %2", TStr(path_.c_str()), errno);
            return text;
        }
        char buffer[4096];
        ssize_t got = 0;
        while ((got = ::read(file.get(), buffer, sizeof buffer)) > 0) {
            text.append(buffer, static_cast<size_t>(got));
            if (text.size() > kIdFileLimit) {
                return std::string();
            }
            if (got < static_cast<ssize_t>(sizeof buffer)) {
                break;
            }
        }
        return text;
    }

    std::string path_;
    TProcess process_;
    int pid_ = 0;
    int bound_ = 0;
    struct stat seen_ = {};
    bool settled_ = false;
};

} // namespace

struct QMXPipeNamedConduitData {
    explicit QMXPipeNamedConduitData(TStr const& path)
        : prefix(path),
          lock(TStr("/%1.lock").arg(prefix.baseName()), true, false),
          serverFile(prefix + TPath(".serverpid")) {}

    TProcess process; // the server, when this conduit started it
    TPath prefix;
    TLock lock;
    ServerFile serverFile;
    bool sayingGoodbye = false; // a client's close: its FIFOs are needed until the goodbye is answered
};

QMXPipeNamedConduit::QMXPipeNamedConduit(TStr const& prefix, bool server,
                                         QMXPipe::Synchronicity synchronicity)
    : QMXPipeConduit(server, synchronicity, false), mpNamed(new QMXPipeNamedConduitData(prefix)) {}

QMXPipeNamedConduit::QMXPipeNamedConduit(QMXPipeNamedConduit const& other)
    : QMXPipeConduit(other), mpNamed(new QMXPipeNamedConduitData(other.mpNamed->prefix)) {
    QMXPipeConduit::operator=(other);
    mpNamed->process = other.mpNamed->process;
}

QMXPipeNamedConduit& QMXPipeNamedConduit::operator=(QMXPipeNamedConduit const& other) {
    if (this != &other) {
        QMXPipeConduit::operator=(other);
        mpNamed->process = other.mpNamed->process;
    }
    return *this;
}

QMXPipeNamedConduit::~QMXPipeNamedConduit() {
    try {
        terminate(true);
    } catch (...) {
        // A host's callback threw into the closing wait; the conduit goes all the same.
    }
    delete mpNamed;
}

// ---- Both roles ----

bool QMXPipeNamedConduit::setAltClientPID(long pid) {
    altPID = pid;
    return true;
}

TStr QMXPipeNamedConduit::defaultPipePrefix(TStr const& name) {
    return TStr("%1%2%3").arg(TStr("/var/tmp/")).arg(TPath(name).baseName()).arg(static_cast<long>(getpid()));
}

bool QMXPipeNamedConduit::isValid() const { return mpNamed->lock.isValid(); }

bool QMXPipeNamedConduit::isServerRunning() { return mpNamed->serverFile.names_live_process(); }

long QMXPipeNamedConduit::lock(long timeout) {
    QMXPipeConduit::lock(timeout);
    return mpNamed->lock.acquire(timeout) ? 1 : 0;
}

void QMXPipeNamedConduit::unlock() {
    mpNamed->lock.release();
    QMXPipeConduit::unlock();
}

long QMXPipeNamedConduit::lockCount() { return QMXPipeConduit::lockCount(); }

long QMXPipeNamedConduit::send(QMXPipePacket* packet, QMXPipePacket* response, long writer) {
    packet->setAttribute("CPID", client_id());
    long const result = QMXPipeConduit::send(packet, response, writer);
    if (mpNamed->sayingGoodbye && packet->facilityAndCode() == "system.cndTerm") {
        mpNamed->sayingGoodbye = false;
    }
    return result;
}

bool QMXPipeNamedConduit::setupReader(int index) {
    TPath path = path_in(mpNamed->prefix, index);
    mpNamed->prefix.mkpath(0770);
    if (::mkfifo(path.toUtf8(), 0700) != 0 && errno != EEXIST) {
        int const error = errno;
        QMXBase::logError(error, TStr("Could not create fifo at %1 : errno %2\n").arg(path).arg(error));
        return false;
    }
    QMXPipeReadEndpoint const reader(new QMXPipeFile(path, PipeModeRead | PipeModeNonBlock, true));
    addReader(index, reader);
    return true;
}

bool QMXPipeNamedConduit::setupWriter(int index) {
    TPath path = path_in(mpNamed->prefix, index);
    if (!path.exists()) {
        return false;
    }
    qmxLogDebug("Creating write endpoint");
    // A plain open would wait for a reader, for ever if the reader has died. Opening without blocking fails
    // instead as long as there is none; the descriptor that got through keeps its place while the device
    // opens its own.
    for (long const end = microseconds_now() + kWriterMicroseconds; microseconds_now() < end;) {
        UniqueFd const probe(::open(path.toUtf8(), O_WRONLY | O_NONBLOCK | O_CLOEXEC));
        if (probe.get() >= 0) {
            QMXPipeWriteEndpoint const writer(new QMXPipeFile(path, PipeModeWrite | PipeModeNonBlock, true));
            int const flags = writer.isOpen() ? ::fcntl(writer.device()->handle(), F_GETFL) : -1;
            if (flags >= 0 && ::fcntl(writer.device()->handle(), F_SETFL, flags & ~O_NONBLOCK) == 0) {
                qmxLogDebug("Created write endpoint");
                addWriter(index, writer);
                return true;
            }
        } else if (errno != ENXIO && errno != EINTR) {
            break;
        }
        if (index == 0 ? !isServerRunning() : TProcess(index).status() != 0) {
            break;
        }
        ::usleep(kRoundMicroseconds);
    }
    qmxLogDebug("Could not create write endpoint. waiting...");
    return false;
}

void QMXPipeNamedConduit::removeReader(long key) {
    if (mpNamed->sayingGoodbye) {
        return;
    }
    QMXPipeConduit::removeReader(key);
    TPath path = path_in(mpNamed->prefix, key);
    qmxLogDebug("Removing reader pipe :%1", path);
    ::unlink(path.toUtf8());
    TPath directory = mpNamed->prefix;
    ::rmdir(directory.toUtf8());
}

void QMXPipeNamedConduit::removeWriter(long key) {
    if (!mpNamed->sayingGoodbye) {
        QMXPipeConduit::removeWriter(key);
    }
}

long QMXPipeNamedConduit::close(bool initiate, bool readers, bool writers) {
    if (status() >= ConduitClosing) {
        return QMXPipeConduit::close(initiate, readers, writers);
    }
    qmxLogDebug("QMXPipeNamedConduit::close %1", isServer() ? 1 : 0);
    if (!isServer()) {
        // Sessions beside the default one, also those that a stray packet has opened, are closed first, and
        // each of them would take the client's FIFOs with it.
        mpNamed->sayingGoodbye = initiate;
        long const result = QMXPipeConduit::close(initiate, readers, writers);
        mpNamed->sayingGoodbye = false;
        return result;
    }
    // The order is what clients rely on: without the id file every wait ends on its next round, here and
    // there.
    lock(0);
    TPath idFile = mpNamed->prefix + TPath(".serverpid");
    ::unlink(idFile.toUtf8());
    long const result = QMXPipeConduit::close(initiate, readers, writers);
    mpNamed->lock.destroy();
    removeReader(0);
    unlock();
    return result;
}

// ---- Server ----

QMXPipeNamedConduit* QMXPipeNamedConduit::server(TStr const& prefix) {
    auto* const conduit = new QMXPipeNamedConduit(prefix, true, QMXPipe::Synchronous);
    if (!conduit->isValid()) {
        // Abandoned, not destroyed: its destructor would remove the files of a server that has the prefix.
        // NOLINTNEXTLINE(clang-analyzer-cplusplus.NewDeleteLeaks)
        qmxLogError("Could not create server conduit.");
        return nullptr;
    }
    if (!conduit->registerServer()) {
        qmxLogError("failed to register server");
    }
    return conduit;
}

bool QMXPipeNamedConduit::registerServer() {
    mpNamed->serverFile.bind(0);
    for (int round = 0; round < kRegisterRounds; ++round) {
        if (isServerRunning()) {
            ::usleep(kRoundMicroseconds);
            continue;
        }
        if (lock(0) == 0) {
            qmxLogError("Could not lock server");
            return false;
        }
        if (!setupReader(0)) {
            qmxLogError("Could not create server pipe.");
            unlock();
            return false;
        }
        // Looked at again, and kept from others who look: of two servers that both saw none, one writes. The
        // lock does not see to that alone. Its name goes with each server that ends, so that those who have
        // it open and those who come later are no longer kept apart.
        TPath const idFile = mpNamed->prefix + TPath(".serverpid");
        UniqueFd const guard(::open(idFile.toUtf8(), O_RDWR | O_CREAT | O_CLOEXEC, 0660));
        struct stat guarded = {};
        if (guard && (::flock(guard.get(), LOCK_EX) != 0 || isServerRunning() ||
                      ::fstat(guard.get(), &guarded) != 0 || guarded.st_nlink == 0)) {
            QMXPipeConduit::removeReader(0); // the FIFO is the other one's
            unlock();
            continue;
        }
        QMXPipeWriteEndpoint(new QMXPipeFile(idFile, PipeModeWrite | PipeModeCreate, true))
            .write(TStr::number(static_cast<long>(getpid()), 10));
        mpNamed->serverFile.bind(getpid());
        unlock();
        return true;
    }
    qmxLogError("Another server is running.");
    return false;
}

bool QMXPipeNamedConduit::lockWhileServing(long timeout) {
    if (lockCount() > 0) {
        return lock(timeout) != 0;
    }
    for (long const end = microseconds_now() + timeout; microseconds_now() < end;) {
        while (poll() > 0) {
        }
        if (mpNamed->lock.acquireIfAvailable()) {
            // The semaphore is ours but not counted. A counted attempt now cannot take it a second time, and
            // leaves its count raised when it fails: which is exactly "held once".
            lock(1);
            return true;
        }
        ::usleep(kRoundMicroseconds);
    }
    return lock(1) != 0;
}

// ---- Client ----

namespace {

// The conduit while connect() works on it: whoever leaves early destroys it, and `*self` never dangles.
class Candidate {
public:
    Candidate(QMXPipeNamedConduit* conduit, QMXPipeNamedConduit** self) : conduit_(conduit), self_(self) {
        if (self_ != nullptr) {
            *self_ = conduit_;
        }
    }
    Candidate(Candidate const&) = delete;
    Candidate& operator=(Candidate const&) = delete;
    ~Candidate() { drop(); }
    void drop() {
        if (conduit_ != nullptr) {
            delete conduit_;
            conduit_ = nullptr;
            if (self_ != nullptr) {
                *self_ = nullptr;
            }
        }
    }
    QMXPipeNamedConduit* operator->() const { return conduit_; }
    // Whether the callback has ended the conduit.
    bool given_up() const { return conduit_->hasTerminated(); }
    QMXPipeNamedConduit* take() {
        QMXPipeNamedConduit* const conduit = conduit_;
        conduit_ = nullptr;
        return conduit;
    }

private:
    QMXPipeNamedConduit* conduit_;
    QMXPipeNamedConduit** self_;
};

} // namespace

QMXPipeNamedConduit* QMXPipeNamedConduit::connect(TStr const& serverPath, TStr const& prefix, long timeout) {
    return connect(serverPath, prefix, timeout, nullptr, nullptr, nullptr);
}

QMXPipeNamedConduit* QMXPipeNamedConduit::connect(TStr const& serverPath, TStr const& prefix, long timeout,
                                                  void (*processEvents)(void*), void* context,
                                                  QMXPipeNamedConduit** self) {
    qmxLogDebug("connecting with prefix %1", prefix);
    Candidate conduit(new QMXPipeNamedConduit(prefix, false, QMXPipe::Synchronous), self);
    conduit->setProcessEventsCallback(processEvents, context);
    TProcess process(serverPath, prefix);

    if (conduit->lock(timeout) == 0) {
        conduit.drop();
        qmxLogError("Cannot lock server. Aborting connection attempt");
        return nullptr;
    }
    if (!conduit->isServerRunning()) {
        qmxLogDebug("server is not running. Attempting to start an instance");
        if (process.execute(true, false) != -1) {
            conduit->terminate(false);
            conduit.drop();
            qmxLogError("Could not execute server process");
            return nullptr;
        }
        qmxLogDebug("executing process: %1", static_cast<long>(process.pid()));
        // The lock is let go in each round, since the server needs it to take its role.
        long rounds = timeout < LONG_MAX ? timeout + 1 : timeout;
        while (!conduit->isServerRunning()) {
            if (--rounds < 1 || conduit.given_up()) {
                qmxLogDebug("server is not running after timeout. Aborting.");
                conduit->unlock();
                return nullptr;
            }
            conduit->unlock();
            if (processEvents != nullptr) {
                processEvents(context);
            }
            ::usleep(kRoundMicroseconds);
            conduit->lock(0);
        }
        if (conduit.given_up()) {
            conduit->unlock();
            return nullptr;
        }
        qmxLogDebug("server is running");
    }

    conduit->mpNamed->serverFile.bind(conduit->mpNamed->serverFile.pid());
    if (!conduit->setupWriter(0)) {
        qmxLogError("Could not create client pipe");
        conduit->unlock();
        return nullptr;
    }
    long attempts = timeout > 0 ? timeout : 0;
    while (!conduit->setupReader(static_cast<int>(client_id()))) {
        if (attempts-- == 0) {
            return nullptr;
        }
        conduit->unlock();
        if (processEvents != nullptr) {
            processEvents(context);
        }
        if (conduit.given_up()) {
            return nullptr;
        }
        ::usleep(1000);
        if (conduit->lock(timeout) == 0) {
            conduit.drop();
            qmxLogError("Could not re-acquire lock while setting up reader connection");
            return nullptr;
        }
    }
    conduit->mpNamed->process = process;

    QMXPipeSession* const session = conduit->newSession();
    conduit->setDefaultSession(session);
    QMXPipePacket request("system.cndCnct", nullptr, QMXPipe::Synchronous);
    QMXPipePacket response(QMXPipe::SynchronicityDefault);
    request.setSessionId(session->id());
    request.setAttribute("CPID", client_id());
    qmxLogDebug("sending connection request");
    conduit->send(&request, &response, 0);
    conduit->unlock();
    session->setPartnerId(response.partnerSessionId());
    session->release();
    return conduit.take();
}
