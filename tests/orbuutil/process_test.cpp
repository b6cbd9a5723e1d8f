#include "platformSupport.h"

#include "orbuutil/c_process.h"
#include "orbuutil/tprocess.h"

#include <atomic>
#include <fcntl.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

namespace {

using ProcessFiles = PlaceTest;

struct Pipe {
    int read, write;
    Pipe() {
        int ends[2];
        EXPECT_EQ(::pipe2(ends, O_CLOEXEC), 0);
        read = ends[0];
        write = ends[1];
    }
};

std::string readAll(int fd) {
    std::string result;
    char buffer[256];
    for (ssize_t got; (got = ::read(fd, buffer, sizeof buffer)) > 0;) {
        result.append(buffer, static_cast<std::size_t>(got));
    }
    ::close(fd);
    return result;
}

// What a shell, started with `script` on its standard input, writes.
std::string talk(TProcess& shell, std::string const& script) {
    Pipe in, out;
    shell.mapDescriptor(in.read, 0, true, "input of the shell, a long label");
    shell.mapDescriptor(out.write, 1, true, "output");
    EXPECT_EQ(shell.execute(false, false), -1);
    EXPECT_EQ(::write(in.write, script.data(), script.size()), static_cast<ssize_t>(script.size()));
    ::close(in.write);
    EXPECT_TRUE(::fcntl(in.read, F_GETFD) == -1 && ::fcntl(out.write, F_GETFD) == -1);
    return readAll(out.read);
}

void awaitEnd(int pid) { // and leave it to be waited for
    siginfo_t info;
    EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT), 0);
}

TEST(Process, SplitsArguments) {
    std::string const lengthy(5000, 'w');
    // A closing single quote ends it all.
    std::pair<std::string, std::string> const rows[] = {
        {"  a\t\tb  ", "a\rb"},
        {"\"a 'b\" c", "a 'b\rc"},
        {"'a b' c", "a b"},
        {"a\"b c'd", "a\"b\rc'd"},
        {"\"\" a", "a"},
        {"\"a b", "a b"},
        {"'a", "a"},
        {"\"a\"b", "a\rb"},
        {"\"", ""},
        {lengthy + " \"" + lengthy + " x\"", lengthy + "\r" + lengthy + " x"}};
    for (auto const& [line, words] : rows) {
        TStr const split = TProcess::splitArgumentString(line.c_str());
        EXPECT_TRUE(words.empty() ? split.isNull() : split == words.c_str()) << line;
    }
    EXPECT_TRUE(TProcess::splitArgumentString(TStr::null).isNull());
}

TEST(Process, MapsDescriptors) {
    process* record = process_from_pid(1);
    process_map_descriptor(record, 3, 4, 1, "first");
    process_map_descriptor(record, 3, 4, 0, "second"); // the same pair: one entry, the first label
    process_map_descriptor(record, 5, 6, 1, "a label of more than 16 bytes");
    int found = -1;
    EXPECT_EQ(process_get_from_descriptor(record, "second", &found), 0);
    EXPECT_TRUE(process_get_to_descriptor(record, "first", &found) == 1 && found == 4);
    EXPECT_TRUE(process_get_from_descriptor(record, "a label of more than that", &found) == 1 && found == 5);
    process_uninit(record);
}

TEST(Process, RunsWithArgumentsInTheEnvironment) {
    ::setenv("ORBU_TEST_KEPT", "kept", 1);
    ::unsetenv("PROCESS_ARGUMENTS");
    std::string const script = "echo \"$0|$#|$PROCESS_ARGUMENTS|$ORBU_TEST_KEPT\"; exit 3";
    for (const char* before : {"", "earlier"}) {
        if (*before != '\0') {
            ::setenv("PROCESS_ARGUMENTS", before, 1);
        }
        TProcess shell("\\bin\\sh", "  a 'b\" \xC3\xA9=");
        EXPECT_EQ(talk(shell, script), "sh|0|  a 'b\" \xC3\xA9=|kept\n");
        EXPECT_EQ(shell.wait(), -2);
        const char* const after = ::getenv("PROCESS_ARGUMENTS"); // the child's alone
        EXPECT_STREQ(after != nullptr ? after : "", before);

        // A second start takes no notice of what is closed: descriptor 0 of this process stays.
        EXPECT_EQ(shell.execute(true, false), -1);
        EXPECT_TRUE(::fcntl(0, F_GETFD) != -1 && shell.toDescriptor("output") == 0);
    }
    ::unsetenv("PROCESS_ARGUMENTS");
}

TEST_F(ProcessFiles, StartsTheLauncherOfABundle) {
    const char* const script = "#!/bin/sh\necho \"$0|$1|$#\"\n";
    std::pair<std::string, std::string> const rows[] = {
        {"q/QMX.app/Contents/MacOS/QMX", "q/QMX.app"},
        {"r/Any.APP", "r/Any.APP"},
        {"s/x.app/y.app/z", "s/x.app"},
        {"t/u/x.apple/bin/z", "t/u"}, // a longer name counts, and is cut off
    };
    for (auto const& [path, bundle] : rows) {
        make(bundle + "/Contents/MacOS/qmxopen", script);
        Pipe out;
        TProcess process(in(path).c_str(), "");
        process.mapDescriptor(out.write, 1, true, "");
        EXPECT_EQ(process.execute(false, false) | 1, -1);
        std::string const folder = in(bundle) + "/Contents/MacOS/";
        EXPECT_EQ(readAll(out.read), folder + "qmxopen|" + folder + "QMX|1\n");
        EXPECT_EQ(process.wait(), -2);
    }
}

TEST(Process, Codes) {
    std::tuple<const char*, long, int> const rows[] = {
        {"exit 0", -2, 0}, {"exit 7", -2, 7}, {"kill -9 $$", -1, 0}};
    process* none = process_from_pid(-1); // as a failed fork leaves it: not to stand for any child
    for (auto const& [script, waited, exitCode] : rows) {
        TProcess shell("sh", ""); // found on PATH
        EXPECT_EQ(talk(shell, script), "");
        process* watched = process_from_pid(shell.pid());
        awaitEnd(shell.pid());
        EXPECT_TRUE(process_wait(none, 0) == -2 && process_exit_code(none) == 0 &&
                    process_status(none) == -6);
        EXPECT_EQ(process_exit_code(watched), exitCode);
        EXPECT_EQ(process_wait(watched, 0), waited); // the last status known
        EXPECT_EQ(process_status(watched), -6);
        process_uninit(watched);
    }
    process_uninit(none);
    Pipe pipe;
    TProcess running("/bin/cat", "");
    running.mapDescriptor(pipe.read, 0, true, "");
    EXPECT_TRUE(running.execute(false, false) == -1 && running.status() == 0);
    process* watched = process_from_pid(running.pid());
    EXPECT_TRUE(process_wait(watched, WNOHANG) == -1 && process_exit_code(watched) == 0);
    process_uninit(watched);
    ::close(pipe.write);
    EXPECT_EQ(running.wait(), -2);

    TProcess empty;
    EXPECT_TRUE(empty.pid() == 0 && empty.execute(true, true) == -3 && empty.wait() == -3 &&
                empty.status() == -3);
    EXPECT_TRUE(process_exit_code(nullptr) == -3 && TProcess(0).wait() == -4 && TProcess(1).status() == 0);
}

// Other threads hold the locks of the log, the allocator and the time zone at the moment of fork; the child
// must not need one of them.
TEST(Process, ThreadedHost) {
    std::atomic<bool> stop{false};
    std::thread busy([&] {
        while (!stop) {
            ::syslog(LOG_DEBUG, "busy"); // takes all three
        }
    });
    for (int round = 0; round < 30; ++round) {
        TProcess process("/bin/true", "");
        EXPECT_EQ(process.execute(round % 2 == 0, false) | 1, -1);
        if (round % 2 != 0) {
            EXPECT_EQ(process.wait(), -2);
        }
    }
    stop = true;
    busy.join();
}

} // namespace
