// QMXPipeConduit: the transport engine, one side of a conversation.
//
// A conduit holds readers, writers and conversations ("sessions", qmxPipeSession.h). A packet goes out as one
// line; a line that comes in becomes a packet and is handed to the session that it names, or to a new one.
//
// - Input happens only in poll(), on the caller's thread: one sweep over the readers, no blocking. A
//   synchronous send calls it in a loop, so handlers can run nested inside a wait, and they may add or remove
//   readers and sessions. Nobody may delete a conduit from inside it: a handler closes it at most.
// - Ownership: a conduit ends by terminate() or close() and then `delete`, not by counting retains: each open
//   session retains it. The session table holds one retain on each session, and the conduit one more on its
//   default session. Packets stay with the caller.
// - Facilities stand in one table for the whole process, which owns none of them. Session ids are unique in
//   the process.
// - Results: each function says its own. Errors are reported to QMXBase::logError and never thrown.
// - Threads: one thread drives a conduit. Nothing here is atomic, and the facility table, the session ids and
//   the disposition of SIGPIPE (see send) are the process's. Where a host has several threads it keeps one
//   conduit to one.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tmap.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxPipe.h"
#include "qmx/qmxPipeBase.h"

class QMXPipeFacility;
class QMXPipePacket;
class QMXPipeReadEndpoint;
class QMXPipeSession;
class QMXPipeWriteEndpoint;
struct QMXPipeConduitData;
struct QMXPipeEngine;

// A test for closing or closed is a test for above 3. A copy of a conduit stays at 0.
enum QMXPipeConduitStatus {
    ConduitReady = 1,
    ConduitClosing = 4,
    ConduitTerminated = 5,
};

// What send(), and QMXPipeSession's waiting, come to.
enum QMXPipeSendResult {
    SendDone = 0,        // sent, and the reply is there if one was waited for
    SendFailed = 1,      // no such writer, or the wait found nothing
    SendUnavailable = 4, // the partner is gone
};

class ORBU_EXPORT QMXPipeConduit : public QMXPipeBase {
public:
    // A side that is ready to talk: with its system session (id 1) as default session, and its system
    // facility registered as "system", or as "systemInternal" if `internal` is set. A second conduit in a
    // process takes the name over, and destroying either removes it; an internal one keeps out of that.
    QMXPipeConduit(bool server, QMXPipe::Synchronicity synchronicity, bool internal);
    // Tables, side and synchronicity of the other; no system session or facility of its own, and status 0.
    QMXPipeConduit(QMXPipeConduit const& other);
    // Tables, synchronicity and the close flag of the other.
    QMXPipeConduit& operator=(QMXPipeConduit const& other);
    // Does not close the conversation: call terminate() or close() first. Sessions that are still
    // open, in the table or not, lose it and say nothing.
    ~QMXPipeConduit() override;

    // Makes the system session and facility, and the conduit ready. The constructor has done it; for a copy.
    // A second call is a no-op.
    void init(bool internal);

    // A count with no lock underneath; a derived conduit puts a real one there. 0: done. The count never
    // falls below 0.
    long lock(long timeout) override;
    void unlock() override;

    // Sends `packet` as one line to the writer with that key, or to all writers if it is 0. If the packet
    // resolves to synchronous (isAsynchronous with fallback true) and `response` is not null, waits for the
    // reply without limit. Gives a QMXPipeSendResult; the result of the write itself is not looked at. A
    // synchronous packet without a response is not waited for, and its session takes the next packet for the
    // reply. A keyed writer is written to with SIGPIPE ignored, and the disposition is the default
    // afterwards, whatever it was before; the way to all writers leaves the signal alone. Hosts depend on
    // both.
    virtual long send(QMXPipePacket* packet, QMXPipePacket* response, long writer);
    virtual long send(QMXPipePacket& packet, long writer);
    virtual long send(QMXPipePacket& packet, QMXPipePacket& response, long writer);

    // Ends the conversation. With `initiate` false nothing is sent. With it the other sessions are closed,
    // then "system.cndTerm" goes to all writers and its reply is waited for: on a plain conduit without a
    // live partner that never ends. `readers` and `writers` do nothing here. Always 0; a second call is a
    // no-op.
    virtual long close(bool initiate, bool readers, bool writers);

    // Hook for a derived server loop: 0.
    virtual long listen();

    // One sweep: takes at most one line from each reader and processes it, then does the housekeeping. Gives
    // the number of packets; 0 once terminated. A pending empty line waits until text stands behind it.
    virtual long poll();

    virtual bool hasTerminated();
    // The conduit's own level of the default.
    virtual QMXPipe::Synchronicity synchronicity() const;

    // Store a copy of the endpoint under the key. Writers are named by their key in send() and in a session's
    // writer index, so 0 is never the key of one writer only.
    virtual void addReader(long key, QMXPipeReadEndpoint const& endpoint);
    virtual void addWriter(long key, QMXPipeWriteEndpoint const& endpoint);
    // Take the endpoint out and close its device. No effect without it.
    virtual void removeReader(long key);
    virtual void removeWriter(long key);
    virtual void removeAllReaders();

    // Number of writers.
    virtual long activeConnections();
    virtual long lockCount();

    // Hook: makes the writer that reaches the client with that process id. False here.
    virtual bool setupWriter(int index);

    // Closes, without a packet, each session whose partner process is gone. Runs with every poll().
    virtual void housekeeping();

    // Asked in each round of a wait. True here: a plain conduit cannot tell.
    virtual bool isServerRunning();

    // The facility table. registerFacility gives the key: `name`, or the facility's own name if that is
    // empty; a known key gets the new facility. listFacilities leaves the hidden ones out.
    static TStr registerFacility(QMXPipeFacility* facility, TStr const& name = TStr::null);
    static void unregisterFacility(TStr const& name);
    static QMXPipeFacility* findFacility(TStr const& name);
    static TList<TStr> listFacilities();

    // A new session with the next id, in the table and retained once more for the caller, who releases it.
    // Null when memory is exhausted.
    QMXPipeSession* newSession();
    // Takes the session out of the table and gives the table's retain back.
    void removeSession(QMXPipeSession* session);
    // The session or null, not retained.
    QMXPipeSession* findSession(long id);
    // Where packets without a session go. Not retained for the caller; null is accepted.
    QMXPipeSession* defaultSession() const;
    void setDefaultSession(QMXPipeSession* session);
    // Whether close(true, ...) lets the other sessions say goodbye. False at start.
    void setShouldCloseSessionInitiateOnClose(bool initiate);
    // The session that took the last packet in; null when that one is gone. Not retained.
    QMXPipeSession* lastActiveSession() const;
    void setLastActiveSession(QMXPipeSession* session);
    // Stored and handed back.
    QMXPipeConduit* parentConduit() const;
    void setParentConduit(QMXPipeConduit* conduit);

    // Assign the endpoint to `out`; false if there is none. Pending lines stay in the table's own endpoint.
    bool readerForKey(long key, QMXPipeReadEndpoint& out);
    bool writerForKey(long key, QMXPipeWriteEndpoint& out);
    // Sessions made for packets that came in.
    long totalConnections() const;
    // At least one writer is open or could be opened; every closed one is tried.
    bool canWrite();

    // The session for a packet: the one it names, or the default session. Writes that session's id and
    // partner id into the packet. Not retained.
    QMXPipeSession* preparePacket(QMXPipePacket* packet);
    // The first of packet, session and conduit that states a synchronicity decides; `fallback` if none does.
    // A null session is found as preparePacket does.
    bool isAsynchronous(QMXPipePacket* packet, QMXPipeSession* session, bool fallback);

    // Hands a packet to the session that its session id names (the low 32 bits, as a signed number), or to a
    // new one. Gives 1; 0 if no session could be made.
    long processPacket(QMXPipePacket* packet);

    // The host's callback, then poll(), then a sleep of so many microseconds, also after a round that found
    // work.
    void yieldToSystem(long microseconds);

    // A callback for each round of yieldToSystem, so that a host's own events go on during a wait. Null:
    // none. Gives the previous one.
    typedef void (*ProcessEventsCallback)(void* context);
    ProcessEventsCallback setProcessEventsCallback(ProcessEventsCallback callback, void* context);

    // A QMXPipeConduitStatus, or 0. state() is always 0; hosts depend on it.
    int status() const;
    int state() const { return 0; }
    bool isServer() const;
    bool isValid() const { return true; }

    // close(initiate, true, true).
    long terminate(bool initiate);

    // QMXPipePacket's: a new packet that the caller owns.
    static QMXPipePacket* packetFromCommandLine(int argc, char** argv);
    static QMXPipePacket* packetFromString(TStr const& text);

    // Null until the first facility is registered.
    static TMap<TStr, QMXPipeFacility*>* spFacilities;
    // The next id to give out. 0 is no session, 1 the system session.
    static long sLastSessionId;

private:
    friend struct QMXPipeEngine;

    QMXPipeConduitData* mpData;
};

extern template class TMap<TStr, QMXPipeFacility*>;
