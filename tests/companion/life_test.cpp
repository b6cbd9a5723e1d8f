// How a server comes up, is found, and goes.
#include <csignal>
#include <cstdlib>
#include <semaphore.h>
#include <sys/stat.h>
#include <unistd.h>

#include "qmx/qmxPipeSession.h"
#include "support/processes.h"

namespace {

class LifeTest : public ProcessTest {
protected:
    Child runServer(std::vector<std::string> environment = {}) const {
        environment.push_back("PROCESS_ARGUMENTS=" + prefix());
        return Child({serverPath()}, environment);
    }
    bool serverUp() const {
        return eventually([this] { return serverPid() > 0 && fileExists(prefix() + "/0"); });
    }
};

TEST_F(LifeTest, ADeadClientIsNoticedAtOnce) {
    setVariable("ORBU_QMX_IDLE", "500ms");
    // The child is left uncollected, so that a probe of its id still finds it.
    Child client([this] {
        Client connected = connect();
        return ::pause();
    });
    ASSERT_TRUE(serverUp());
    ASSERT_TRUE(eventually([this] { return serverLog("SSID"); }));
    client.kill(SIGKILL);
    // Its FIFO is all that stays.
    EXPECT_TRUE(eventually([this] { return !fileExists(prefix() + "/0"); }));
    EXPECT_TRUE(fileExists(prefix() + "/" + std::to_string(client.pid())));
    expectRemains();
}

TEST_F(LifeTest, WhatEndsAServer) {
    Child host([] { return ::pause(); });
    for (bool const told : {true, false}) { // by a signal, else because no client came for a while
        Child server = runServer({told ? "ORBU_QMX_IDLE=never" : "ORBU_QMX_IDLE=50ms"});
        if (told) {
            EXPECT_TRUE(serverUp());
            server.kill(SIGINT);
        }
        EXPECT_EQ(server.wait(), 0) << told;
        EXPECT_FALSE(fileExists(prefix())) << told;
        EXPECT_EQ(sem_open(lockName().c_str(), 0), SEM_FAILED) << told;
    }

    std::string const hostPrefix = in("QMX" + std::to_string(host.pid()));
    Child server({serverPath()}, {"PROCESS_ARGUMENTS=" + hostPrefix, "ORBU_QMX_IDLE=never"});
    ASSERT_TRUE(eventually([&] { return !fileText(hostPrefix + "/.serverpid").empty(); }));
    // What the host could not take away any more goes with it.
    EXPECT_EQ(mkfifo((hostPrefix + "/" + std::to_string(host.pid())).c_str(), 0700), 0);
    host.kill(SIGKILL);
    EXPECT_EQ(server.wait(), 0);
    EXPECT_FALSE(fileExists(hostPrefix));
}

TEST_F(LifeTest, ServersThatStartTogetherAgreeOnOne) {
    std::vector<Child> servers;
    for (int i = 0; i < 4; ++i) {
        servers.push_back(runServer());
    }
    int refused = 0;
    for (Child& server : servers) {
        int owner = 0;
        ASSERT_TRUE(eventually([&] { return (owner = serverPid()) > 0; }));
        refused += owner != server.pid() && server.wait() == 3;
    }
    EXPECT_EQ(refused, 3);
    EXPECT_TRUE(eventually([this] { return signalServer(SIGTERM); }));
    EXPECT_TRUE(eventually([this] { return !fileExists(prefix()); }));
}

// A client gives up after a while: the server that it started may have left in favour of another one.
struct Deadline {
    std::chrono::steady_clock::time_point const end =
        std::chrono::steady_clock::now() + std::chrono::seconds(2);
    QMXPipeNamedConduit* conduit = nullptr;

    static void check(void* context) {
        auto const* const self = static_cast<Deadline*>(context);
        if (std::chrono::steady_clock::now() >= self->end) {
            self->conduit->terminate(false);
            self->conduit->defaultSession()->cancelWait();
        }
    }
};

// A server that is told to end while clients come and go: nobody waits for somebody else, whoever holds the
// lock.
TEST_F(LifeTest, EndingAndConnectingNeverWaitForEachOther) {
    std::vector<Child> clients;
    for (int i = 0; i < 4; ++i) {
        clients.emplace_back([this] {
            int answered = 0;
            for (int round = 0; round < 10; ++round) {
                Deadline deadline;
                Client client(QMXPipeNamedConduit::connect(serverPath().c_str(), prefix().c_str(), 1000000,
                                                           Deadline::check, &deadline, &deadline.conduit));
                if (client && !client->hasTerminated()) {
                    client->setProcessEventsCallback(nullptr, nullptr);
                    QMXPipePacket response;
                    answered += call(*client, "system.listLocales", response) == SendDone;
                }
                QMXBase::setLogSink(nullptr, nullptr);
            }
            return answered > 0 ? 0 : 1;
        });
    }
    Child ender([this] {
        for (int round = 0; round < 10; ++round) {
            int const server = serverPid();
            if (eventually([&] { return serverPid() > 0 && serverPid() != server; },
                           std::chrono::milliseconds(200))) {
                signalServer(SIGTERM);
            }
        }
        return 0;
    });
    for (Child& client : clients) {
        EXPECT_EQ(client.wait(), 0);
    }
    EXPECT_EQ(ender.wait(), 0);
}

TEST_F(LifeTest, Programs) {
    std::string const launcher = serverPath().substr(0, serverPath().rfind('/')) + "/qmxopen";
    struct {
        std::vector<std::string> command;
        int code;
    } const cases[] = {
        {{serverPath(), "--help"}, 0},
        {{serverPath(), "--version"}, 0},
        {{serverPath()}, 2},
        {{serverPath(), "x"}, 2},
        {{launcher}, 2},
        {{launcher, in("none")}, 127},
        {{launcher, mPlace}, 126},
        {{launcher, "/bin/sh", "-c", "test \"$PROCESS_ARGUMENTS\" = 'a b'; exit $?"}, 0},
    };
    for (auto const& step : cases) {
        bool const sh = step.command.size() > 2;
        Child child(step.command, {sh ? "PROCESS_ARGUMENTS=a b" : "PROCESS_ARGUMENTS="});
        EXPECT_EQ(child.wait(), step.code) << step.command.back();
    }
    EXPECT_EQ(runServer({"ORBU_QMX_IDLE=soon"}).wait(), 2);
    EXPECT_EQ(runServer({"ORBU_QMX_PRESENTER=both"}).wait(), 2);
    std::vector<std::string> const noDisplay = {"WAYLAND_DISPLAY=", "DISPLAY=:60000",
                                                "ORBU_QMX_PRESENTER=windows"};
    EXPECT_EQ(runServer(noDisplay).wait(), 4);
    EXPECT_FALSE(fileExists(prefix()));
}

// Every answer reaches its own client. ORBU_STRESS=200x100 runs the full load.
TEST_F(LifeTest, ManyClientsAtOnce) {
    int clients = 12;
    int requests = 20;
    if (char const* const load = std::getenv("ORBU_STRESS")) {
        ASSERT_EQ(std::sscanf(load, "%dx%d", &clients, &requests), 2);
    }
    setVariable("ORBU_QMX_LOG", ""); // each line would be written there
    Client anchor = connect();
    ASSERT_TRUE(anchor);
    std::vector<Child> children;
    for (int i = 0; i < clients; ++i) {
        children.emplace_back([this, i, requests] {
            Client client = connect();
            int wrong = client ? 0 : 1;
            for (int k = 0; client && k < requests; ++k) {
                QMXPipePacket response;
                long const mark = i * 1000L + k;
                wrong += call(*client, "qmx.MessageBox", response, mark) != SendDone ||
                         response.attributeAsLong("selected_button") != mark;
            }
            return wrong > 100 ? 100 : wrong;
        });
    }
    for (Child& child : children) {
        EXPECT_EQ(child.wait(), 0);
    }
}

} // namespace
