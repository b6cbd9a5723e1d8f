#include "serverLoop.h"

#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <sys/inotify.h>
#include <sys/signalfd.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "qmx/qmxPipeEndpoint.h"
#include "qmx/qmxPipeIODevice.h"
#include "qmx/qmxPipeNamedConduit.h"

namespace {

constexpr int kRoundsAtOnce = 64;
constexpr Milliseconds kTick(1000);            // for processes that have no descriptor
constexpr Milliseconds kLongestWait(86400000); // poll(2) takes an int
constexpr long kFarewellMicroseconds = 1000000;

} // namespace

pid_t hostOf(std::string const& prefix) {
    static constexpr char name[] = "QMX";
    size_t const start = prefix.rfind('/') + 1;
    if (prefix.compare(start, 3, name) != 0 ||
        prefix.find_first_not_of("0123456789", start + 3) != std::string::npos) {
        return 0;
    }
    long const pid = parseNumber(prefix.substr(start + 3)).value_or(0);
    return pid == static_cast<pid_t>(pid) ? static_cast<pid_t>(pid) : 0;
}

ServerLoop::ServerLoop(Settings const& settings, Presenter& presenter, int signals)
    : settings_(settings), presenter_(presenter), signals_(signals), host_(hostOf(settings.prefix)) {}

ServerLoop::~ServerLoop() {
    for (int const descriptor : {keeper_, changes_}) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
}

int ServerLoop::run() {
    if (!takeRole()) {
        return ExitNoRole;
    }
    desk_ = std::make_unique<DialogDesk>(presenter_);
    presenter_.start();
    for (;;) {
        bool const more = serve();
        End const reason = reasonToEnd();
        if (reason == End::Lost) {
            // Its files are another server's: nothing is destroyed that would touch them.
            return ExitNoRole;
        }
        if (reason != End::No && finish(reason)) {
            return reason == End::NoDisplay ? ExitNoDisplay : ExitDone;
        }
        wait(more);
    }
}

bool ServerLoop::takeRole() {
    conduit_ = QMXPipeNamedConduit::server(TStr(settings_.prefix.c_str()));
    QMXPipeReadEndpoint reader;
    if (conduit_ == nullptr || !conduit_->readerForKey(0, reader) || !reader.isOpen()) {
        // Never destroyed: that would remove the files of the server that has the prefix.
        return false;
    }
    input_ = reader.device()->handle();
    keeper_ = ::open((settings_.prefix + "/0").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    changes_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ::inotify_add_watch(changes_, settings_.prefix.c_str(), IN_CREATE | IN_DELETE | IN_CLOSE_WRITE);
    if (host_ != 0) {
        hosts_.add(0, host_);
    }
    busy_ = Clock::now();
    return true;
}

bool ServerLoop::serve() {
    // One call handles one line at most, and says whether there was one.
    int rounds = 0;
    while (rounds < kRoundsAtOnce && conduit_->poll() > 0) {
        watchClients();
        ++rounds;
    }
    forgetClients();
    desk_->dispatch();
    if (rounds > 0 || hasClients()) {
        busy_ = Clock::now();
    }
    return rounds == kRoundsAtOnce;
}

void ServerLoop::watchClients() {
    QMXPipeSession const* const session = conduit_->lastActiveSession();
    if (session != nullptr && session->partnerPID() > 0) {
        clients_.add(session->id(), static_cast<pid_t>(session->partnerPID()));
    }
}

bool ServerLoop::hasClients() const { return conduit_->activeConnections() > 0 || clients_.size() > 0; }

void ServerLoop::forgetClients() {
    if (!someGone_ && clients_.size() <= static_cast<size_t>(conduit_->activeConnections())) {
        return;
    }
    for (long const id : clients_.keys()) {
        QMXPipeSession* const session = conduit_->findSession(id);
        if (session != nullptr && clients_.isGone(id)) {
            // A dead client that nobody has collected still answers to a probe; its descriptor knows better.
            session->close(false);
        }
        if (conduit_->findSession(id) == nullptr) {
            clients_.remove(id);
        }
    }
    someGone_ = false;
}

ServerLoop::End ServerLoop::reasonToEnd() {
    if (signalled() || (host_ != 0 && hosts_.isGone(0))) {
        return End::Now;
    }
    if (presenter_.hasFailed()) {
        return End::NoDisplay;
    }
    if (filesChanged()) {
        std::ifstream idFile(settings_.prefix + "/.serverpid");
        pid_t owner = 0;
        if (!(idFile >> owner) || owner != ::getpid()) {
            return End::Lost;
        }
        struct stat open = {};
        struct stat named = {};
        ::fstat(input_, &open);
        if (::stat((settings_.prefix + "/0").c_str(), &named) != 0 || named.st_ino != open.st_ino) {
            return End::Now; // nobody can reach us any more
        }
    }
    return settings_.idle >= Milliseconds::zero() && Clock::now() - busy_ >= settings_.idle ? End::Idle
                                                                                            : End::No;
}

bool ServerLoop::filesChanged() {
    alignas(inotify_event) char events[4096];
    while (::read(changes_, events, sizeof events) > 0) {
        checkFiles_ = true;
    }
    return std::exchange(checkFiles_, false);
}

bool ServerLoop::signalled() {
    bool end = false;
    signalfd_siginfo info;
    while (::read(signals_, &info, sizeof info) == static_cast<ssize_t>(sizeof info)) {
        end = end || info.ssi_signo != SIGPIPE;
    }
    return end;
}

void ServerLoop::wait(bool more) {
    Milliseconds timeout(-1);
    descriptors_.clear();
    descriptors_.push_back({input_, POLLIN, 0});
    descriptors_.push_back({signals_, POLLIN, 0});
    descriptors_.push_back({changes_, POLLIN, 0});
    bool const hostTick = hosts_.prepare(descriptors_);
    bool const clientTick = clients_.prepare(descriptors_);
    // A client may have connected without having been seen, while a farewell was given up.
    bool const tick =
        hostTick || clientTick || clients_.size() < static_cast<size_t>(conduit_->activeConnections());
    if (settings_.idle >= Milliseconds::zero() && !hasClients()) {
        timeout = std::chrono::ceil<Milliseconds>(
            std::max(busy_ + settings_.idle - Clock::now(), Clock::duration::zero()));
    }
    if (tick) {
        timeout = timeout < Milliseconds::zero() ? kTick : std::min(timeout, kTick);
    }
    presenter_.prepare(descriptors_, timeout);
    if (more) {
        timeout = Milliseconds::zero();
    }
    timeout = std::min<Milliseconds>(timeout, kLongestWait);
    if (::poll(descriptors_.data(), descriptors_.size(), static_cast<int>(timeout.count())) > 0) {
        hosts_.collect(descriptors_);
        someGone_ = clients_.collect(descriptors_);
    }
}

bool ServerLoop::finish(End reason) {
    // The lock first, served while we wait for it: a client in the middle of connecting holds it and wants an
    // answer.
    bool const locked = conduit_->lockWhileServing(kFarewellMicroseconds);
    if (reason == End::Idle && locked && hasClients()) {
        // Somebody came in the last moment.
        watchClients();
        conduit_->unlock();
        busy_ = Clock::now();
        return false;
    }
    desk_.reset();
    if (host_ != 0 && hosts_.isGone(0)) {
        // The prefix was the host's alone. Its FIFO would keep the directory, and nobody will come for
        // either.
        ::unlink((settings_.prefix + "/" + std::to_string(host_)).c_str());
    }
    conduit_->terminate(true);
    delete conduit_;
    conduit_ = nullptr;
    return true;
}
