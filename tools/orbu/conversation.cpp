#include "conversation.h"

#include "attributes.h"
#include "duration.h"
#include "exitCodes.h"
#include "qmx/qmxPipeNamedConduit.h"
#include "qmx/qmxPipePacket.h"
#include "qmx/qmxPipeSession.h"
#include "runtime.h"
#include "terminal.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <strings.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr auto kGoodbye = std::chrono::milliseconds(500);
constexpr auto kLockGrace = std::chrono::seconds(60);
constexpr long kStandByNanoseconds = 20'000'000;

std::string lock_name(std::string const& prefix) {
    return "/" + std::filesystem::path(prefix).filename().string() + ".lock";
}

// Whether a live process stands in the id file of the prefix.
bool server_runs(std::string const& prefix) {
    std::ifstream file(prefix + "/.serverpid");
    int pid = 0;
    return file >> pid && pid > 0 && (::kill(pid, 0) == 0 || errno == EPERM);
}

bool runnable(std::string const& path) {
    std::error_code ignored;
    return std::filesystem::is_regular_file(path, ignored) && ::access(path.c_str(), X_OK) == 0;
}

// What is missing for the server at `path` to be started; empty if nothing is. A path with ".app" in it, in
// any case, is cut back to the bundle, of which the launcher is run.
std::string missing_program(std::string const& path) {
    auto const same = [](char a, char b) { return ::tolower(a) == b; };
    constexpr std::string_view kBundle = ".app";
    auto const found = std::search(path.begin(), path.end(), kBundle.begin(), kBundle.end(), same);
    if (found == path.end()) {
        return runnable(path) ? "" : path;
    }
    auto const offset = static_cast<size_t>(found - path.begin());
    std::filesystem::path bundle(path);
    while (bundle.native().size() > offset + kBundle.size()) {
        bundle = bundle.parent_path();
    }
    for (char const* const name : {"Contents/MacOS/qmxopen", "Contents/MacOS/QMX"}) {
        if (!runnable(bundle / name)) {
            return bundle / name;
        }
    }
    return "";
}

bool has_children() {
    pid_t found = 0;
    while ((found = ::waitpid(-1, nullptr, WNOHANG)) > 0) {
    }
    return found == 0 || errno != ECHILD;
}

} // namespace

std::string default_server() { return beside_program(ORBU_SERVER_FROM_PROGRAM); }

Conversation::Conversation(Place place, watchdog::Duration limit, Observer& observer)
    : place_(std::move(place)), limit_(limit), observer_(observer) {
    if (!server_runs(place_.prefix)) {
        std::string const missing = missing_program(place_.server);
        if (!missing.empty()) {
            throw Failure(ExitNoServer, "no server runs under " + place_.prefix +
                                            ", and none can be started: " + missing + " is no program");
        }
    }
    // Descendants of a server that is started become children of ours, and so their end is seen.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
    watchdog::start(limit_, place_.prefix + "/" + std::to_string(::getpid()), place_.prefix);
    observer_.on_phase = [this](Phase phase) { on_phase(phase); };
    observer_.on_fatal = [](std::string const& message) {
        watchdog::end_now(ExitFailed, ("orbu: " + one_line(message) + "\n").c_str());
    };
    try {
        connect();
    } catch (...) {
        delete conduit_;
        sweep();
        watchdog::stop();
        throw;
    }
}

Conversation::~Conversation() {
    if (connected_) {
        conduit_->terminate(false);
        delete conduit_;
        sweep();
    }
    watchdog::stop();
    observer_.on_phase = nullptr;
    observer_.on_fatal = nullptr;
}

void Conversation::round(void* context) { static_cast<Conversation*>(context)->round(); }

void Conversation::round() {
    if (conduit_ == nullptr) {
        return;
    }
    if (!connected_ && conduit_->status() >= ConduitClosing) {
        // connect() has failed and says goodbye on a conversation that never began.
        conduit_->defaultSession()->cancelWait();
        return;
    }
    if (observer_.phase == Phase::Starting && !has_children() && !conduit_->isServerRunning()) {
        give_up(ExitNoServer);
    } else if (int const reason = watchdog::end_reason()) {
        give_up(reason);
    }
}

void Conversation::give_up(int reason) {
    reason_ = reason;
    if (conduit_->status() < ConduitClosing) {
        conduit_->terminate(false);
    } else if (QMXPipeSession* const session = conduit_->defaultSession()) {
        session->cancelWait();
    }
}

void Conversation::on_phase(Phase phase) {
    // An opened semaphore of our own on the same name: posting it is all that a signal handler may do.
    static sem_t* lock = nullptr;
    if (phase == Phase::Held && lock == nullptr) {
        sem_t* const opened = sem_open(lock_name(place_.prefix).c_str(), 0);
        lock = opened != SEM_FAILED ? opened : nullptr;
    }
    watchdog::set_held_lock(phase == Phase::Held ? lock : nullptr);
    watchdog::set_message(phase == Phase::Waiting ? "the lock " + lock_name(place_.prefix) +
                                                        " was not free within " + duration_text(limit_)
                                                  : "no answer within " + duration_text(limit_));
}

void Conversation::connect() {
    // A lock that was not had in time would be given back all the same, by whoever did not hold it. So the
    // library is let wait for it longer than the watchdog lets us live. As a number of rounds this is always
    // enough.
    auto const limit =
        std::chrono::duration_cast<std::chrono::microseconds>(watchdog::remaining() + kLockGrace);
    TStr const server(std::filesystem::absolute(place_.server).c_str());
    TStr const prefix(place_.prefix.c_str());

    observer_.reset();
    observer_.set_phase(Phase::Waiting);
    QMXPipeNamedConduit* const made =
        QMXPipeNamedConduit::connect(server, prefix, limit.count(), round, this, &conduit_);
    Phase const reached = observer_.phase;
    observer_.set_phase(Phase::Open);
    conduit_ = made;
    if (conduit_ != nullptr) {
        check_handshake();
        return;
    }
    if (reason_ == ExitNoServer) {
        throw Failure(ExitNoServer, "the server " + place_.server +
                                        " ended before it took up its place under " + place_.prefix);
    }
    if (reached == Phase::Starting && reason_ <= ExitTimeLimit) {
        throw Failure(ExitNoServer, "the server " + place_.server + " did not take up its place under " +
                                        place_.prefix + " within " + duration_text(limit_));
    }
    throw_if_given_up("a connection");
    if (observer_.lock_refused) {
        throw Failure(ExitFailed, "the lock " + lock_name(place_.prefix) + " cannot be used");
    }
    throw Failure(ExitNoServer, "nobody reads " + place_.prefix + "/0");
}

void Conversation::check_handshake() {
    throw_if_given_up("a connection");
    QMXPipeSession* const session = conduit_->defaultSession();
    if (session == nullptr || session->partnerId() == 0) {
        conduit_->terminate(false);
        throw Failure(ExitFailed, "the server went away before it answered");
    }
    connected_ = true;
}

void Conversation::throw_if_given_up(std::string const& what) {
    if (reason_ == ExitUnanswered) {
        throw Failure(ExitUnanswered, "nobody answered the dialog within " + duration_text(limit_));
    }
    if (reason_ == ExitTimeLimit) {
        std::string message = "no answer from the server for " + what + " within " + duration_text(limit_);
        if (observer_.longest_request > PIPE_BUF) {
            message += " (the request's line has " + std::to_string(observer_.longest_request) +
                       " bytes; one longer than " + std::to_string(PIPE_BUF) + " may not arrive whole)";
        }
        throw Failure(ExitTimeLimit, message);
    }
    if (reason_ != 0) {
        throw Failure(reason_, "interrupted");
    }
}

void Conversation::ask(QMXPipePacket& request, QMXPipePacket& response) {
    std::string const name = one_line(bytes_of(request.facilityAndCode()));
    bool const waits = request.synchronicity() != QMXPipe::Asynchronous;
    observer_.reset();
    long const result = conduit_->send(&request, &response, 0);
    throw_if_given_up(name);
    if (!waits) {
        return;
    }
    if (result != SendDone) {
        throw Failure(ExitFailed, result == SendUnavailable
                                      ? "the server went away before it answered " + name
                                      : "the server ended the conversation without an answer");
    }
    if (response.code() != "RESP") {
        throw Failure(ExitFailed, "the server sent " + one_line(bytes_of(response.facilityAndCode())) +
                                      " instead of an answer to " + name);
    }
    partner_ended_ = request.code() == "cndTerm" || request.code() == "ssnTerm";
}

void Conversation::limit_dialog(watchdog::Duration limit) {
    limit_ = limit;
    watchdog::set_message("nobody answered the dialog within " + duration_text(limit));
    watchdog::restart(limit, ExitUnanswered);
}

bool Conversation::stand_by() {
    watchdog::restart(watchdog::kForever);
    while (conduit_->isServerRunning() && conduit_->status() < ConduitClosing) {
        if (watchdog::end_reason() != 0) {
            watchdog::forget_signal();
            watchdog::restart(kGoodbye);
            return true;
        }
        conduit_->poll();
        struct timespec const pause = {0, kStandByNanoseconds};
        ::nanosleep(&pause, nullptr);
    }
    return false;
}

void Conversation::end() {
    watchdog::restart(kGoodbye);
    conduit_->terminate(!partner_ended_);
    delete conduit_;
    connected_ = false;
    watchdog::stop();
}

void Conversation::sweep() {
    if (!place_.own_prefix || server_runs(place_.prefix)) {
        return;
    }
    // Nobody else knows this prefix, and nobody will ask for it again.
    for (char const* const name : {"/.serverpid", "/0"}) {
        ::unlink((place_.prefix + name).c_str());
    }
    ::rmdir(place_.prefix.c_str());
    sem_unlink(lock_name(place_.prefix).c_str());
}
