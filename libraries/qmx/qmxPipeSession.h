// QMXPipeSession: one conversation on a conduit.
//
// A session is a pair of ids, its own and the partner's, the writer that reaches the partner, and one slot
// that catches the next packet for it: the reply to a synchronous request. Nothing matches a reply to its
// request: while the session waits, the next packet that names it ends the wait, whatever it is.
//
// - Ownership: counted as a QMXBase. The conduit's table holds one retain, until close(). A session retains
//   its conduit until close(). A handler may close its own session, which may then be destroyed as soon as
//   the packet is dealt with.
// - Results: QMXPipeSendResult (qmxPipeConduit.h) for sending and waiting.
// - Threads: the conduit's. lock() and unlock() do nothing and mark where a lock would stand.
#pragma once

#include "orbuutil/orbuExport.h"
#include "qmx/qmxPipe.h"
#include "qmx/qmxPipeBase.h"

class QMXPipeConduit;
class QMXPipeFacilityInvocationContext;
class QMXPipePacket;
struct QMXPipeEngine;
struct QMXPipeSessionData;

// A test for closing or closed is a test for above 3.
enum QMXPipeSessionState {
    SessionOpen = 1,
    SessionClosing = 4,
    SessionClosed = 5,
};

class ORBU_EXPORT QMXPipeSession : public QMXPipeBase {
public:
    // Looks at a packet first. Only 3 lets it go on to its facility; anything else is the result of
    // process().
    typedef long (*Callback)(QMXPipeSession* session, QMXPipePacket* packet);

    // An open session that is in no table yet; newSession() of the conduit makes one that is.
    QMXPipeSession(QMXPipeConduit* conduit, long id, long partnerId, QMXPipe::Synchronicity synchronicity);
    QMXPipeSession(QMXPipeSession const&) = delete;
    QMXPipeSession& operator=(QMXPipeSession const&) = delete;
    // close(true): a session that was not closed before asks its partner, and waits for the answer.
    ~QMXPipeSession() override;

    // Null once the session is closed.
    QMXPipeConduit* conduit() const;
    long id() const;
    // Learned from every packet that comes in; 0 while unknown.
    long partnerId() const;
    void setPartnerId(long id);
    // The partner's process id; 0 while unknown. A session with one is closed when that process is gone.
    long partnerPID() const;
    void setPartnerPID(long pid);
    QMXPipe::Synchronicity synchronicity() const;
    // The key of the writer that reaches the partner; 0 means all writers.
    int writerIndex() const;
    Callback callback() const;
    void setCallback(Callback look);
    // For handlers; stored and handed back, not retained.
    QMXPipeFacilityInvocationContext* context() const;
    void setContext(QMXPipeFacilityInvocationContext* context);
    // Always 0; hosts depend on it.
    int state() const { return 0; }

    // Sends through the conduit with this session's ids and writer. A packet that resolves to synchronous
    // waits for its reply, also without a `response`, when the reply is dropped. SendFailed on a closed
    // session.
    long send(QMXPipePacket* packet);
    long send(QMXPipePacket* packet, QMXPipePacket* response);

    // Arms the slot: the next packet is the reply. An older packet in the slot stays until then. Gives 0.
    long prepareToWaitForPacket();
    // Waits until the slot is filled and moves the packet to `response`. `microseconds` is the sleep of each
    // round and no time limit: there is none. SendDone; SendFailed if the session was closed or was not
    // waiting and the slot is empty; SendUnavailable if the conduit says that the server is gone.
    long waitForPacket(QMXPipePacket* response, long microseconds);
    // Ends a running wait, from a handler or from the process-events callback: it gives SendFailed. No effect
    // on a session that does not wait.
    void cancelWait();

    // Takes a packet in: for the slot, for the callback, or for the facility that it names; a packet of no
    // known facility goes to the system facility, without which the process ends (exit(0)). Gives 0, or the
    // callback's result.
    long process(QMXPipePacket* packet);

    // Makes the writer with that key and keeps the key. False if the session has one already.
    bool connectClient(int index);
    // Takes the writer away, on a client also the reader of this process, and leaves the conduit's table.
    void disconnectClient(int index);

    // Ends the session; with `notify` the partner is asked first ("system.ssnTerm") and its reply waited for.
    // Gives 0; a second call is a no-op.
    long close(bool notify);

private:
    friend struct QMXPipeEngine;

    QMXPipeSessionData* mpData;
};

// The session that every conduit has, with id 1. Its partner has the same id.
class ORBU_EXPORT QMXPipeSystemSession : public QMXPipeSession {
public:
    QMXPipeSystemSession(QMXPipeConduit* conduit, long id);
};
