#include "orbuutil/c_daemon.h"
#include "orbuutil/c_syslogPrivate.h"
#include "orbuutil/tprocess.h"
#include "support/processes.h"

#include <csignal>
#include <fcntl.h>
#include <regex>
#include <sstream>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

// A set of signals out of a process's status, without 32 and 33, which are libc's own affair.
unsigned long signalsOf(int pid, std::string const& field) {
    std::string const status = fileText("/proc/" + std::to_string(pid) + "/status");
    return std::stoul(status.substr(status.find(field) + field.size() + 2), nullptr, 16) & ~(3ul << 31);
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
        ::prctl(PR_SET_CHILD_SUBREAPER, 0);
        ::close(mLog);
    }

    void drain() { // a log that is full makes its writers wait
        char buffer[4096];
        for (ssize_t got; (got = ::recv(mLog, buffer, sizeof buffer, 0)) > 0;) {
            mLines.emplace_back(buffer, static_cast<std::size_t>(got));
        }
    }

    // What a process has said so far, with "PID" for its number.
    std::string said(int pid) {
        drain();
        std::string const number = std::to_string(pid);
        std::string all;
        for (auto const& line : mLines) {
            if (line.starts_with("<10>QMX[" + number + "]: ")) {
                all += line.substr(number.size() + 11) + "\n";
            }
        }
        return std::regex_replace(all, std::regex("\\b" + number + " "), "PID ");
    }

    // Waits for a file, which is moved into its place.
    std::string awaited(std::string const& name) {
        EXPECT_TRUE(eventually([&] { return drain(), fileExists(in(name)); })) << name;
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
        "mv $d/new $d/told; exec sleep 60\n");
    struct sigaction handler = {};
    handler.sa_handler = [](int) {};
    ::sigaction(SIGUSR1, &handler, nullptr); // a host's handler, not to be left in the leader
    TProcess process(program.c_str(), in("x").c_str());
    process.mapDescriptor(::dup(2), 7, true, "");
    EXPECT_EQ(process.execute(true, false), -1);
    EXPECT_EQ(process.status(), -6); // the first child is reaped

    std::istringstream told(awaited("told"));
    int daemon = 0;
    int leader = 0;
    std::string rest;
    std::getline(told >> daemon >> leader, rest);
    ASSERT_TRUE(daemon > 1 && leader > 1);
    EXPECT_EQ(rest, " 0000 /dev/null /dev/null /dev/null"); // nothing from the map

    EXPECT_TRUE(::getsid(daemon) == leader && ::getsid(0) != leader);
    EXPECT_TRUE(signalsOf(daemon, "SigIgn") & 1u << (SIGHUP - 1));
    EXPECT_TRUE(
        eventually([&] { return std::filesystem::is_empty("/proc/" + std::to_string(leader) + "/fd"); }));
    EXPECT_TRUE(signalsOf(leader, "SigCgt") == 0 && signalsOf(leader, "SigBlk") == 0);

    // The leader lives as long as its daemon, and ends through /usr/bin/false.
    EXPECT_EQ(::waitpid(leader, nullptr, WNOHANG), 0);
    ::kill(daemon, SIGKILL);
    int status = 0;
    EXPECT_EQ(::waitpid(leader, &status, 0), leader);
    EXPECT_EQ(status, 1 << 8);
    EXPECT_EQ(said(process.pid()), "PID DAEMONIZE: setting umask 0\n"
                                   "PID DAEMONIZE: session parent exiting\n"
                                   "exiting and supressing hooks: 0\n");
    EXPECT_EQ(said(leader), "PID DAEMONIZE: session new session leader\n"
                            "PID DAEMONIZE: tty disconnect parent exiting\n"
                            "exiting and supressing hooks: 0\n");
    EXPECT_EQ(said(daemon), "PID DAEMONIZE: tty disconnect child\n"
                            "PID DAEMONIZE: closing file descriptors\n"
                            "PID Execing " +
                                program + "\nPID with argument: server\n");

    TProcess missing("/nonexistent/program", "");
    EXPECT_EQ(missing.execute(false, false) | 1, -1);
    EXPECT_EQ(missing.wait(), -2);
    EXPECT_EQ(said(missing.pid()), "PID Execing /nonexistent/program\nPID with argument: program\n"
                                   "!!!! exec failed with result: -1\n");
}

// Called by a program itself, here without descriptors.
TEST_F(Daemon, LeavesDescriptorsClosed) {
    Child caller([this] {
        _daemonize("orbutest", 1);
        int fd = 0;
        while (fd < 1000 && ::fcntl(fd, F_GETFD) == -1) {
            ++fd;
        }
        writeFile(in("closed" + std::to_string(fd)), "");
        return 0;
    });
    EXPECT_EQ(caller.wait(), 1); // it leaves
    awaited("closed1000");
    EXPECT_GT(::waitpid(-1, nullptr, 0), 0); // the leader, whose daemon is gone
}

TEST(Leaving, RunsNoHooks) {
    auto const leave = [](int code) {
        std::atexit([] { ::_exit(77); });
        exit_no_hooks(code);
    };
    for (int code : {0, 1, -1}) {
        EXPECT_EXIT(leave(code), ::testing::ExitedWithCode(code == 0 ? 1 : 0), "");
    }
}

} // namespace
