// One conversation with a server, under a time limit and with Ctrl-C, that leaves nothing behind on any way
// out.
#pragma once

#include "observer.h"
#include "watchdog.h"

#include <string>

class QMXPipeNamedConduit;
class QMXPipePacket;

// Where the companion stands beside this program.
std::string default_server();

struct Place {
    std::string server;      // the program to start when no server runs
    std::string prefix;      // where client and server meet
    bool own_prefix = false; // the prefix is this process's own, and nobody else's
};

class Conversation {
public:
    // Connects, and starts the server if none runs. The limit holds from here to the end of the last ask(),
    // or to limit_dialog().
    // Throws Failure: no server, time limit, interrupted, failed. `observer` must outlive the conversation.
    Conversation(Place place, watchdog::Duration limit, Observer& observer);
    Conversation(Conversation const&) = delete;
    Conversation& operator=(Conversation const&) = delete;
    // Leaves without a word, unless end() was called.
    ~Conversation();

    // Sends the request and waits for the answer. A request marked asynchronous is not waited for: the
    // response stays as it is. Throws Failure: time limit, interrupted, failed, bad data.
    void ask(QMXPipePacket& request, QMXPipePacket& response);

    // From now on the limit is one for the answer to a dialog, or there is none (watchdog::kForever). What
    // fails by it fails with ExitUnanswered.
    void limit_dialog(watchdog::Duration limit);

    // Serves the server's requests until a signal comes (true) or the server is gone (false). What is left to
    // be said then has the time of a goodbye.
    bool stand_by();

    // Says goodbye. A server that does not answer that within half a second is left without its answer.
    void end();

private:
    static void round(void* context);
    void round();
    void give_up(int reason);
    void connect();
    void check_handshake();
    void on_phase(Phase phase);
    // The failure for what ended the last call, if it was us.
    void throw_if_given_up(std::string const& what);
    void sweep();

    Place place_;
    watchdog::Duration limit_;
    Observer& observer_;
    QMXPipeNamedConduit* conduit_ = nullptr; // also while connect() makes it
    bool connected_ = false;
    bool partner_ended_ = false; // a request of ours has ended the session
    int reason_ = 0;             // why we gave up: an exit code
};
