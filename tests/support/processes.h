// Tests with real processes: every wait is bounded by a condition, children never outlive their test, and a
// failure shows what both sides had to say.
#pragma once

#include <csignal>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "qmx/qmxPipeNamedConduit.h"
#include "qmx/qmxPipePacket.h"
#include "support/files.h"

// SIGPIPE by itself.
sigset_t pipeSignal();

// A child of the test; killed and collected at the latest when the object goes.
class Child {
public:
    explicit Child(std::function<int()> const& body);
    // A program with its arguments, and NAME=VALUE entries added to the environment.
    Child(std::vector<std::string> arguments, std::vector<std::string> const& environment);
    Child(Child&& other) noexcept : pid_(other.pid_) { other.pid_ = 0; }
    ~Child() { end(); }

    int pid() const { return pid_; }
    void kill(int signal) const;
    // Kills and collects it, if it is still there.
    void end();
    // The exit code, or 128 + the signal; a failure and -1 when it does not end in time.
    int wait();

private:
    int pid_ = 0;
};

// A prefix of its own for each test, in a temporary directory. Whatever server stands on it is ended with
// SIGTERM after the test and has to take its files with it; lines that the client side logs as errors fail
// the test unless expected.
class ProcessTest : public PlaceTest {
public:
    using Client = std::unique_ptr<QMXPipeNamedConduit>;

protected:
    void SetUp() override;
    void TearDown() override;

    std::string const& prefix() const { return prefix_; }
    std::string idFile() const { return prefix_ + "/.serverpid"; }
    std::string lockName() const;
    // The process in the id file, 0 if there is none.
    int serverPid() const;
    // Sends it a signal if it is a companion. The id file may be empty, stale or name a process of the test
    // run.
    bool signalServer(int signal) const;
    // The companion's program.
    static std::string serverPath();
    Client connect(long timeout = 30000000) const;
    // Whether the server has written this to its log.
    bool serverLog(std::string const& text) const {
        return fileText(in("server.log")).find(text) != std::string::npos;
    }

    void expectError(std::string const& part) { expected_.push_back(part); }
    // The server was killed: its files may stay.
    void expectRemains() { remains_ = true; }

private:
    static void log(QMXLogLevel level, TStr const& message, void* context);
    void endServer();

    std::string prefix_;
    std::string log_;
    std::vector<std::string> errors_;
    std::vector<std::string> expected_;
    bool remains_ = false;
};

// Sends a request and waits for the reply; the result is send()'s.
long call(QMXPipeNamedConduit& conduit, char const* name, QMXPipePacket& response, long focus = -1);
