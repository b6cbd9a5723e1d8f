// A conduit on named FIFOs: how a client finds the companion server, or starts it, and talks to it.
//
// Everything lives under one prefix, a directory:
//   prefix/0           FIFO, 0700: the server's input; every client's writer 0
//   prefix/<pid>       FIFO, 0700: the input of the client with that id; the server's writer of that key
//   prefix/.serverpid  the server's process id in decimal, 0660, no line end
//   "/<name>.lock"     named semaphore (TLock), <name> being the last component of the prefix: held while a
//                      client connects or a server takes its role; ordinary traffic runs without it
// Client and server use the same class: connect() makes a client, server() a server. The caller owns what
// they return and ends it by delete, which says goodbye first; terminate(false) before it leaves without a
// word.
//
// One thread drives a conduit. Times are microseconds unless said otherwise. SIGPIPE: a client's send leaves
// the signal's disposition alone, so a host that does not want to die with its server blocks it in the
// calling thread.
#pragma once

#include "qmx/qmxPipeConduit.h"

struct QMXPipeNamedConduitData;

class ORBU_EXPORT QMXPipeNamedConduit : public QMXPipeConduit {
public:
    // Prepares a conduit on `prefix`, taken as it stands, and opens or creates the lock; touches no file.
    QMXPipeNamedConduit(TStr const& prefix, bool server, QMXPipe::Synchronicity synchronicity);
    // A copy on the same prefix with a lock object of its own; see QMXPipeConduit for what its tables share.
    QMXPipeNamedConduit(QMXPipeNamedConduit const& other);
    // As QMXPipeConduit, and takes the started process; prefix and lock stay.
    QMXPipeNamedConduit& operator=(QMXPipeNamedConduit const& other);
    // terminate(true), then gives back the lock if it is held.
    ~QMXPipeNamedConduit() override;

    // Connects to the server on `prefix`; starts the program `serverPath` (see TProcess::execute) when none
    // answers. `timeout` is the limit for the lock (0 waits for ever) and, as a number of rounds of at least
    // 100 us, for the server to come up (0 or less: no round at all). Returns null when that fails. A server
    // that refuses the handshake never replies: the call then lasts as long as the server. An attempt that
    // fails after the lock was taken says goodbye to whatever server there is, and waits for it as
    // destruction does.
    static QMXPipeNamedConduit* connect(TStr const& serverPath, TStr const& prefix, long timeout);
    // The same for callers with a clock. `processEvents` is the conduit's callback from the start, called in
    // each round of each wait, also while the server comes up. `*self` (may be null) is the conduit under
    // construction as long as there is one: set as soon as it exists, null again when connect destroys it.
    // The callback may give up: QMXPipeSession::cancelWait() ends the handshake's wait, and
    // (*self)->terminate(false) ends the wait for the server and makes the destruction wait for nobody. A
    // conduit so terminated may still be returned.
    static QMXPipeNamedConduit* connect(TStr const& serverPath, TStr const& prefix, long timeout,
                                        void (*processEvents)(void*), void* context,
                                        QMXPipeNamedConduit** self);
    // Makes a server on `prefix`. Null when the lock cannot be opened (what was made is then abandoned). When
    // the server role cannot be had, the conduit is returned all the same: it has no reader 0, and destroying
    // it would remove the files of the server that has the role.
    static QMXPipeNamedConduit* server(TStr const& prefix);
    // The id that clients of this process present instead of getpid(); 0 switches it off. Returns true.
    static bool setAltClientPID(long pid);
    // "/var/tmp/", the last path component of `name`, the own process id: every host has a server of its own.
    static TStr defaultPipePrefix(TStr const& name);

    // Takes the server role: under the lock, FIFO 0 with its reader first, then the id file, so that whoever
    // sees the file can open the FIFO. Waits up to 5000 rounds of 100 us for another server to go; false when
    // it stays.
    bool registerServer();
    // Whether a live process stands in the id file (open(2), read(2), kill(2) with signal 0). A stale file is
    // unlinked; one without a number is left alone. A client that has found its server, and a server that has
    // its role, ask for that one: false when another has taken the prefix, which would never answer. Takes no
    // lock. Every round of a wait asks, so an unchanged file costs one stat(2) and one kill(2), and nothing
    // is allocated.
    bool isServerRunning() override;
    // Whether the lock is open.
    bool isValid() const;

    // Makes the prefix (0770, with parents) and the FIFO prefix/index (mkfifo(2), 0700; an existing one is
    // taken) and adds its reading end under `index`. False, with an error in the log, when mkfifo fails.
    virtual bool setupReader(int index);
    // Opens prefix/index for writing and adds it under `index`; false when there is no such FIFO. A reader
    // that is about to come is waited for as long as its process lives, and two seconds at most.
    bool setupWriter(int index) override;
    // Closes the reader, unlinks its FIFO and tries to remove the prefix, which works once it is empty.
    void removeReader(long key) override;
    // Closes the writer. The FIFO stays: its reader owns it.
    void removeWriter(long key) override;

    // The lock between processes, counted. Result: 1 held, 0 not (the reverse of the base). `timeout` 0 waits
    // for ever. A lock that was not had in time counts as held by this object from then on: end the conduit.
    long lock(long timeout) override;
    void unlock() override;
    long lockCount() override;
    // lock() for a server that means to end: polls while it waits, so that a client that holds the lock in
    // the middle of connect() gets its answer. False after `timeout`; close() then does not wait for the lock
    // either.
    bool lockWhileServing(long timeout);

    // Adds "CPID" (the client id, or the server's own) to the packet and sends it.
    long send(QMXPipePacket* packet, QMXPipePacket* response, long writer) override;
    using QMXPipeConduit::send;
    // On a client as the base; its FIFOs stay until the goodbye is answered. On a server, in this order: the
    // lock, the id file goes (which ends every wait on both sides), the base's close, the lock's name goes,
    // FIFO 0 and the directory go, unlock.
    long close(bool initiate, bool readers, bool writers) override;

    // The id to present, 0 for getpid(). Process-wide and unguarded.
    static long altPID;

private:
    QMXPipeNamedConduitData* mpNamed;
};
