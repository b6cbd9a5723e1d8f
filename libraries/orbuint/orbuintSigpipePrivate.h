// SIGPIPE, which a write to a dead server raises, never reaches the host.
//
// The host's disposition is left alone, as it belongs to the whole process: the signal is blocked in the
// calling thread, and taken away if it came.
#pragma once

// Blocks SIGPIPE for the length of a scope. At its end one that arrived in between is consumed, and the mask
// is as it was; a signal that was pending before stays. Scopes nest.
class SigpipeGuard {
public:
    SigpipeGuard();
    SigpipeGuard(SigpipeGuard const&) = delete;
    SigpipeGuard& operator=(SigpipeGuard const&) = delete;
    ~SigpipeGuard();
};

// The other way round, for a call of the host's inside such a scope: all of them are off until it returns,
// and what it changes in its mask stays.
class HostSignals {
public:
    HostSignals();
    HostSignals(HostSignals const&) = delete;
    HostSignals& operator=(HostSignals const&) = delete;
    ~HostSignals();

private:
    int mDepth;
};
