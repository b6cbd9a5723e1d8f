// The server's life: takes the role, serves until there is a reason to end, ends in an orderly way.
//
// Between rounds it waits in poll(2): for a line on FIFO 0, for signals, for the end of its clients and of
// its host, and for what the presenter waits for. So an answer is sent at once and an idle server costs
// nothing.
#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "dialogs.h"
#include "processWatch.h"
#include "settings.h"

class QMXPipeNamedConduit;

// Exit codes of the server, as its usage text tells them.
enum ExitCode { ExitDone = 0, ExitUsage = 2, ExitNoRole = 3, ExitNoDisplay = 4 };

// The process id that closes a prefix whose last component is "QMX" and a number; 0 for every other prefix.
pid_t hostOf(std::string const& prefix);

class ServerLoop {
public:
    // `signals` is a descriptor that reads the signals (signalfd(2)); it stays with the caller.
    ServerLoop(Settings const& settings, Presenter& presenter, int signals);
    ServerLoop(ServerLoop const&) = delete;
    ServerLoop& operator=(ServerLoop const&) = delete;
    ~ServerLoop();

    // Serves until the end; gives the exit code.
    int run();

private:
    using Clock = std::chrono::steady_clock;

    enum class End { No, Idle, Lost, NoDisplay, Now };

    bool takeRole();
    // Handles what is there, up to a limit; true when there may be more.
    bool serve();
    void watchClients();
    // Also those that cannot be answered any more: a wait goes on when another connection of its process has
    // taken their common FIFO away.
    bool hasClients() const;
    void forgetClients();
    End reasonToEnd();
    bool signalled();
    bool filesChanged();
    void wait(bool more);
    bool finish(End reason);

    Settings const& settings_;
    Presenter& presenter_;
    int signals_;
    pid_t host_;
    std::unique_ptr<DialogDesk> desk_;
    QMXPipeNamedConduit* conduit_ = nullptr;
    int input_ = -1;         // reading end of FIFO 0, the conduit's
    int keeper_ = -1;        // a writer of our own: without one the FIFO would report a hang-up for ever
    int changes_ = -1;       // tells of changes in the prefix (inotify(7))
    bool checkFiles_ = true; // once at the start, too
    ProcessWatch clients_;   // by session id
    bool someGone_ = false;
    ProcessWatch hosts_;
    Clock::time_point busy_;
    std::vector<pollfd> descriptors_;
};
