#include "platformSupport.h"

#include "orbuutil/c_daemon.h"
#include "orbuutil/c_syslogPrivate.h"
#include "orbuutil/tprocess.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <map>
#include <regex>
#include <sstream>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>

namespace {

std::string procStatus(int pid, std::string const& field) {
    std::istringstream status(fileText("/proc/" + std::to_string(pid) + "/status"));
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(field + ":\t")) {
            return line.substr(field.size() + 2);
        }
    }
    return {};
}

// Becomes the parent of what loses its own, so that daemons and their leaders can be awaited. Reads the lines
// to the system log from a socket of its own.
class Daemon : public PlaceTest {
protected:
    Daemon() : mLog(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)), mLogPath(in("log")) {
        ::prctl(PR_SET_CHILD_SUBREAPER, 1);
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        mLogPath.copy(address.sun_path, sizeof address.sun_path - 1);
        EXPECT_EQ(::bind(mLog, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        private_log_path = mLogPath.c_str();
    }
    ~Daemon() override {
        private_log_path = "/dev/log";
        ::close(mLog);
        ::prctl(PR_SET_CHILD_SUBREAPER, 0);
    }

    // Takes what has come: a log that is full makes its writers wait.
    void drain() {
        char buffer[4096];
        for (ssize_t got; (got = ::recv(mLog, buffer, sizeof buffer, 0)) > 0;) {
            mLines.emplace_back(buffer, static_cast<std::size_t>(got));
        }
    }

    // The lines so far, each with the role of its process in place of the pid.
    std::vector<std::string> logged(std::map<int, std::string> const& roles) {
        drain();
        for (auto& line : mLines) {
            for (auto const& [pid, role] : roles) {
                line = std::regex_replace(line, std::regex("\\b" + std::to_string(pid) + "\\b"), role);
            }
        }
        return mLines;
    }

    // Waits for a file, which is moved into its place.
    std::string awaited(std::string const& name) {
        EXPECT_TRUE(eventually([&] {
            drain();
            return ::access(in(name).c_str(), F_OK) == 0;
        })) << name;
        return fileText(in(name));
    }

    std::vector<std::string> mLines;
    int mLog;
    std::string mLogPath;
};

TEST_F(Daemon, IsDetached) {
    std::string const program = make(
        "server",
        "#!/bin/sh\nd=${PROCESS_ARGUMENTS%/*}\n"
        "echo $$ $PPID $(umask) $(readlink /proc/$$/fd/0 /proc/$$/fd/1 /proc/$$/fd/2 /proc/$$/fd/7) >$d/new\n"
        "mv $d/new $d/told; while [ -d $d ]; do sleep 0.05; done\n",
        true);
    struct sigaction handler = {};
    struct sigaction before;
    handler.sa_handler = [](int) { ::_exit(99); };
    ::sigaction(SIGTERM, &handler, &before); // a host's handler, not to be left in the leader
    int const mapped = ::dup(2);

    TProcess process(program.c_str(), in("x").c_str());
    process.mapDescriptor(mapped, 7, true, "");
    EXPECT_EQ(process.execute(true, false), -1);
    EXPECT_EQ(process.status(), -6); // the first child is reaped
    ::sigaction(SIGTERM, &before, nullptr);

    std::istringstream told(awaited("told"));
    int daemon = 0;
    int leader = 0;
    std::string mask;
    std::string descriptors;
    told >> daemon >> leader >> mask;
    std::getline(told, descriptors);
    EXPECT_EQ(mask, "0000");
    EXPECT_EQ(descriptors, " /dev/null /dev/null /dev/null"); // a daemon gets nothing from the map

    EXPECT_EQ(::getsid(daemon), leader);
    EXPECT_NE(::getsid(0), leader);
    EXPECT_TRUE(std::stoul(procStatus(daemon, "SigIgn"), nullptr, 16) & 1u << (SIGHUP - 1));
    EXPECT_TRUE(std::filesystem::is_empty("/proc/" + std::to_string(leader) + "/fd"));
    unsigned long const ofLibc = 3ul << 31; // signals 32 and 33 are its own affair
    EXPECT_EQ(std::stoul(procStatus(leader, "SigCgt"), nullptr, 16) & ~ofLibc, 0u);
    EXPECT_EQ(std::stoul(procStatus(leader, "SigBlk"), nullptr, 16), 0u);

    // The leader lives as long as its daemon, and ends through /usr/bin/false.
    EXPECT_EQ(::waitpid(leader, nullptr, WNOHANG), 0);
    ::kill(daemon, SIGKILL);
    int status = 0;
    EXPECT_EQ(::waitpid(leader, &status, 0), leader);
    EXPECT_EQ(status, 1 << 8);

    std::vector<std::string> ofDaemon;
    std::vector<std::string> ofOthers;
    for (auto const& line : logged({{process.pid(), "FIRST"}, {leader, "LEADER"}, {daemon, "DAEMON"}})) {
        (line.find("[DAEMON]") != std::string::npos ? ofDaemon : ofOthers).push_back(line);
    }
    EXPECT_THAT(ofDaemon,
                ::testing::ElementsAre("<10>QMX[DAEMON]: DAEMON DAEMONIZE: tty disconnect child",
                                       "<10>QMX[DAEMON]: DAEMON DAEMONIZE: closing file descriptors",
                                       "<10>QMX[DAEMON]: DAEMON Execing " + program,
                                       "<10>QMX[DAEMON]: DAEMON with argument: server"));
    EXPECT_THAT(ofOthers, ::testing::UnorderedElementsAre(
                              "<10>QMX[FIRST]: FIRST DAEMONIZE: setting umask 0",
                              "<10>QMX[FIRST]: FIRST DAEMONIZE: session parent exiting",
                              "<10>QMX[FIRST]: exiting and supressing hooks: 0",
                              "<10>QMX[LEADER]: LEADER DAEMONIZE: session new session leader",
                              "<10>QMX[LEADER]: LEADER DAEMONIZE: tty disconnect parent exiting",
                              "<10>QMX[LEADER]: exiting and supressing hooks: 0"));
}

TEST_F(Daemon, ReportsAFailedExec) {
    TProcess process("/nonexistent/program", "");
    EXPECT_EQ(process.execute(false, false) | 1, -1);
    EXPECT_EQ(process.wait(), -2);
    EXPECT_THAT(logged({{process.pid(), "PID"}}),
                ::testing::ElementsAre("<10>QMX[PID]: PID Execing /nonexistent/program",
                                       "<10>QMX[PID]: PID with argument: program",
                                       "<10>QMX[PID]: !!!! exec failed with result: -1"));
}

TEST_F(Daemon, LeavesStandardDescriptors) {
    for (bool closed : {false, true}) {
        std::string const name = closed ? "closed" : "open";
        pid_t const child = ::fork();
        if (child == 0) {
            _daemonize("orbutest", closed ? 1 : 0);
            bool right = true;
            for (int fd = 0; fd < 20; ++fd) {
                right = right && (::fcntl(fd, F_GETFD) != -1) == (!closed && fd < 3);
            }
            std::ofstream(in(name + (right ? "1" : "0")));
            ::_exit(0);
        }
        int status = 0;
        EXPECT_EQ(::waitpid(child, &status, 0), child); // the caller leaves, and its handlers do not run
        EXPECT_EQ(status, 1 << 8);
        awaited(name + "1");
        EXPECT_GT(::waitpid(-1, nullptr, 0), 0); // the leader, whose daemon is gone
    }
}

TEST(Leaving, RunsNoHooks) {
    auto const leave = [](int code) {
        std::atexit([] { ::_exit(77); });
        exit_no_hooks(code);
    };
    EXPECT_EXIT(leave(0), ::testing::ExitedWithCode(1), "");
    EXPECT_EXIT(leave(1), ::testing::ExitedWithCode(0), "");
    EXPECT_EXIT(leave(-1), ::testing::ExitedWithCode(0), "");
}

} // namespace
