// The connection of a dialog, as this layer's functions hold it.
//
// All connections of a process to its server share one FIFO for what comes back. The first that ends takes
// that FIFO away, here and in the server: no answer reaches the others any more. They notice it here, so that
// nobody waits for ever.
#pragma once

class QMXPipeNamedConduit;

// terminate(true) and delete, also of null; what the log sink throws stays inside. A connection that is cut
// off says goodbye without waiting for the answer.
void private_end_connection(QMXPipeNamedConduit* conduit);

// Ends a connection with its scope. Not bound to one when it gets null.
class Connection {
public:
    explicit Connection(QMXPipeNamedConduit* conduit) : mConduit(conduit) {}
    Connection(Connection const&) = delete;
    Connection& operator=(Connection const&) = delete;
    ~Connection() { private_end_connection(mConduit); }

    QMXPipeNamedConduit* get() const { return mConduit; }

private:
    QMXPipeNamedConduit* mConduit;
};

// The request under way, for the length of a scope; the innermost one of nested ones. check() ends its wait
// when the connection has been cut off.
class RequestUnderWay {
public:
    explicit RequestUnderWay(QMXPipeNamedConduit* conduit);
    RequestUnderWay(RequestUnderWay const&) = delete;
    RequestUnderWay& operator=(RequestUnderWay const&) = delete;
    ~RequestUnderWay();

    static void check();

private:
    QMXPipeNamedConduit* mConduit;
    int mInput; // the FIFO's descriptor, -1: none
    RequestUnderWay* mOuter;
};
