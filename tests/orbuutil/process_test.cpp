#include "platformSupport.h"

#include "orbuutil/c_process.h"
#include "orbuutil/tprocess.h"

#include <atomic>
#include <csignal>
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

bool isOpen(int fd) { return ::fcntl(fd, F_GETFD) != -1; }

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
    EXPECT_FALSE(isOpen(in.read) || isOpen(out.write));
    EXPECT_EQ(shell.fromDescriptor("output"), 0);
    return readAll(out.read);
}

TEST(Process, SplitsArguments) {
    std::string const lengthy(5000, 'w');
    struct {
        std::string line, words;
    } const rows[] = {
        {"a b", "a\rb"},
        {"  a\t\tb  ", "a\rb"},
        {"\"a 'b\" c", "a 'b\rc"},
        {"'a b' c", "a b"}, // a closing single quote ends it all
        {"a\"b c'd", "a\"b\rc'd"},
        {"\"\" a", "a"},
        {"\"a b", "a b"},
        {"'a", "a"},
        {"\"a\"b", "a\rb"},
        {"\"", ""},
        {"", ""},
        {lengthy + " \"" + lengthy + " x\"", lengthy + "\r" + lengthy + " x"},
    };
    for (auto const& row : rows) {
        EXPECT_TRUE(TProcess::splitArgumentString(row.line.c_str()) == row.words.c_str() ||
                    row.words.empty());
        EXPECT_EQ(TProcess::splitArgumentString(row.line.c_str()).isNull(), row.words.empty()) << row.line;
    }
    EXPECT_TRUE(TProcess::splitArgumentString(TStr::null).isNull());
}

TEST(Process, MapsDescriptors) {
    process* record = process_from_pid(1);
    process_map_descriptor(record, 3, 4, 1, "first");
    process_map_descriptor(record, 3, 4, 0, "second"); // the same pair: one entry, the first label
    process_map_descriptor(record, 5, 6, 1, "a label of more than 16 bytes");
    process_map_descriptor(record, 7, 8, 1, nullptr);
    int from = -1;
    int to = -1;
    EXPECT_EQ(process_get_from_descriptor(record, "second", &from), 0);
    EXPECT_EQ(process_get_to_descriptor(record, "first", &to), 1);
    EXPECT_EQ(to, 4);
    EXPECT_EQ(process_get_from_descriptor(record, "a label of more than that", &from), 1);
    EXPECT_EQ(from, 5);
    process_clear_descriptor_map(record);
    EXPECT_EQ(process_get_to_descriptor(record, "first", &to), 0);
    process_uninit(record);

    TProcess object(1);
    object.mapDescriptor(10, 11, true, "x");
    EXPECT_EQ(object.toDescriptor("x"), 10); // both tell the same
    EXPECT_EQ(object.fromDescriptor("y"), -1);
    EXPECT_EQ(TProcess(object).fromDescriptor("x"), -1); // a copy watches the pid alone
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
        EXPECT_TRUE(isOpen(0));
    }
    ::unsetenv("PROCESS_ARGUMENTS");
}

TEST_F(ProcessFiles, StartsTheLauncherOfABundle) {
    const char* const script = "#!/bin/sh\necho \"$0|$1|$#\"\n";
    struct {
        std::string path, bundle;
    } const rows[] = {
        {"q/QMX.app/Contents/MacOS/QMX", "q/QMX.app"},
        {"r/Any.APP", "r/Any.APP"},
        {"s/x.app/y.app/z", "s/x.app"},
        {"t/u/x.apple/bin/z", "t/u"}, // a longer name counts, and is cut off
    };
    for (auto const& row : rows) {
        make(row.bundle + "/Contents/MacOS/qmxopen", script, true);
        Pipe out;
        TProcess process(in(row.path).c_str(), "");
        process.mapDescriptor(out.write, 1, true, "");
        EXPECT_EQ(process.execute(false, false) | 1, -1);
        std::string const folder = in(row.bundle) + "/Contents/MacOS/";
        EXPECT_EQ(readAll(out.read), folder + "qmxopen|" + folder + "QMX|1\n");
        EXPECT_EQ(process.wait(), -2);
    }
}

TEST(Process, Codes) {
    struct {
        const char* script;
        long waited;
        int exitCode;
    } const rows[] = {{"exit 0", -2, 0}, {"exit 7", -2, 7}, {"kill -9 $$", -1, 0}};
    for (auto const& row : rows) {
        TProcess shell("sh", ""); // found on PATH
        EXPECT_EQ(talk(shell, row.script), "");
        process* watched = process_from_pid(shell.pid());
        siginfo_t info; // wait for the end without taking it
        EXPECT_EQ(::waitid(P_PID, static_cast<id_t>(shell.pid()), &info, WEXITED | WNOWAIT), 0);
        EXPECT_EQ(process_exit_code(watched), row.exitCode);
        EXPECT_EQ(process_wait(watched, 0), row.waited); // the last status known
        EXPECT_EQ(process_status(watched), -6);
        process_uninit(watched);
    }
    TProcess missing("/nonexistent/program", "");
    EXPECT_EQ(missing.execute(false, false) | 1, -1);
    EXPECT_EQ(missing.wait(), -2);

    Pipe pipe;
    TProcess running("/bin/cat", "");
    running.mapDescriptor(pipe.read, 0, true, "");
    EXPECT_EQ(running.execute(false, false), -1);
    process* watched = process_from_pid(running.pid());
    EXPECT_EQ(process_wait(watched, WNOHANG), -1);
    EXPECT_EQ(process_exit_code(watched), 0);
    EXPECT_EQ(process_status(watched), 0);
    process_uninit(watched);
    ::close(pipe.write);
    EXPECT_EQ(running.wait(), -2);

    TProcess none;
    EXPECT_TRUE(none.pid() == 0 && none.execute(true, true) == -3 && none.wait() == -3 &&
                none.status() == -3);
    EXPECT_EQ(process_exit_code(nullptr), -3);
    EXPECT_EQ(TProcess(0).wait(), -4);
    EXPECT_EQ(TProcess(1).status(), 0); // whoever owns it
}

// -1 is what a failed fork leaves: it must not stand for any child of the host.
TEST(Process, NeverWaitsForAnyChild) {
    pid_t const child = ::fork();
    if (child == 0) {
        ::_exit(5);
    }
    siginfo_t info;
    ASSERT_EQ(::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOWAIT), 0);
    process* failed = process_from_pid(-1);
    EXPECT_EQ(process_wait(failed, 0), -2);
    EXPECT_EQ(process_exit_code(failed), 0);
    EXPECT_EQ(process_status(failed), -6);
    process_uninit(failed);
    EXPECT_EQ(::waitpid(child, nullptr, WNOHANG), child);
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
