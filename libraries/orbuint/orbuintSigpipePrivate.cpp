#include "orbuint/orbuintSigpipePrivate.h"

#include <cerrno>
#include <csignal>
#include <ctime>
#include <utility>

namespace {

struct ThreadState {
    int depth = 0;        // scopes that are open
    bool blocked = false; // the host's own mask
    bool pending = false; // before the outermost scope
};
constinit thread_local ThreadState state;

sigset_t pipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    return signals;
}

void enter() {
    sigset_t const signals = pipeSignal();
    sigset_t former;
    sigset_t pending;
    pthread_sigmask(SIG_BLOCK, &signals, &former);
    sigemptyset(&pending);
    sigpending(&pending);
    state.blocked = sigismember(&former, SIGPIPE) == 1;
    state.pending = sigismember(&pending, SIGPIPE) == 1;
}

void leave() {
    int const kept = errno;
    sigset_t const signals = pipeSignal();
    if (!state.pending) {
        timespec const now = {};
        while (sigtimedwait(&signals, nullptr, &now) < 0 && errno == EINTR) {
        }
    }
    if (!state.blocked) {
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    }
    errno = kept;
}

} // namespace

SigpipeGuard::SigpipeGuard() {
    if (state.depth++ == 0) {
        enter();
    }
}

SigpipeGuard::~SigpipeGuard() {
    if (--state.depth == 0) {
        leave();
    }
}

HostSignals::HostSignals() : mDepth(std::exchange(state.depth, 0)) {
    if (mDepth > 0) {
        leave();
    }
}

HostSignals::~HostSignals() {
    if (mDepth > 0) {
        enter();
    }
    state.depth = mDepth;
}
