#include "support/processes.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <semaphore.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "qmx/qmxBase.h"

namespace fs = std::filesystem;

sigset_t pipeSignal() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    return signals;
}

Child::Child(std::function<int()> const& body) : pid_(::fork()) {
    if (pid_ == 0) {
        ::_exit(body());
    }
}

Child::Child(std::vector<std::string> arguments, std::vector<std::string> const& environment)
    : pid_(::fork()) {
    if (pid_ == 0) {
        std::vector<char*> argv;
        for (std::string& argument : arguments) {
            argv.push_back(argument.data());
        }
        argv.push_back(nullptr);
        for (std::string const& entry : environment) {
            size_t const sign = entry.find('=');
            ::setenv(entry.substr(0, sign).c_str(), entry.substr(sign + 1).c_str(), 1);
        }
        ::execv(argv[0], argv.data());
        ::_exit(125);
    }
}

void Child::end() {
    if (pid_ > 0) {
        ::kill(pid_, SIGKILL);
        ::waitpid(pid_, nullptr, 0);
        pid_ = 0;
    }
}

void Child::kill(int signal) const {
    if (pid_ > 0) {
        ::kill(pid_, signal);
    }
}

int Child::wait() {
    int status = 0;
    if (pid_ <= 0 ||
        !eventually([&] { return ::waitpid(pid_, &status, WNOHANG) == pid_; }, std::chrono::seconds(60))) {
        ADD_FAILURE() << "child " << pid_ << " does not end";
        return -1;
    }
    pid_ = 0;
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

void ProcessTest::SetUp() {
    sigset_t const signals = pipeSignal();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    // The last component names the lock, so it has to be the test's own; a number at its end would name a
    // host.
    prefix_ = in(fs::path(mPlace).filename().string() + "-server");
    setVariable("ORBU_QMX_LOG", in("server.log"));
    // Whatever a sanitizer says in a daemon is looked for here.
    for (char const* const options : {"ASAN_OPTIONS", "UBSAN_OPTIONS"}) {
        char const* const former = ::getenv(options);
        setVariable(options,
                    (former != nullptr ? std::string(former) + ":" : "") + "log_path=" + in("sanitizer"));
    }
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    QMXBase::setLogSink(log, this);
}

void ProcessTest::TearDown() {
    endServer();
    QMXBase::setLogSink(nullptr, nullptr);
    for (std::string const& error : errors_) {
        EXPECT_TRUE(
            std::any_of(expected_.begin(), expected_.end(),
                        [&](std::string const& part) { return error.find(part) != std::string::npos; }))
            << "logged: " << error;
    }
    for (auto const& entry : fs::directory_iterator(mPlace)) {
        if (entry.path().filename().string().rfind("sanitizer", 0) == 0) {
            ADD_FAILURE() << fileText(entry.path());
        }
    }
    if (HasFailure()) {
        std::cerr << "-- this side\n" << log_ << "-- server\n" << fileText(in("server.log"));
    }
    restoreVariables();
    struct timespec const now = {};
    sigset_t const signals = pipeSignal();
    sigtimedwait(&signals, nullptr, &now);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
    ::sem_unlink(lockName().c_str());
}

void ProcessTest::endServer() {
    // Daemons are inherited by this process: the last one is gone when there is no child left.
    EXPECT_TRUE(eventually([this] {
        signalServer(SIGTERM);
        pid_t collected = 0;
        while ((collected = ::waitpid(-1, nullptr, WNOHANG)) > 0) {
        }
        return collected < 0; // not errno, which may tell of an earlier call
    })) << "the server "
        << serverPid() << " does not end";
    if (!remains_ && fileExists(prefix_)) {
        for (auto const& entry : fs::directory_iterator(prefix_)) {
            ADD_FAILURE() << "left behind: " << entry.path();
        }
    }
}

std::string ProcessTest::lockName() const { return "/" + fs::path(prefix_).filename().string() + ".lock"; }

int ProcessTest::serverPid() const { return std::atoi(fileText(idFile()).c_str()); }

bool ProcessTest::signalServer(int signal) const {
    int const server = serverPid();
    std::error_code ignored;
    return server > 1 && fs::equivalent("/proc/" + std::to_string(server) + "/exe", serverPath(), ignored) &&
           ::kill(server, signal) == 0;
}

std::string ProcessTest::serverPath() {
    if (char const* const path = ::getenv("ORBU_TEST_SERVER")) {
        return path;
    }
    return fs::read_symlink("/proc/self/exe").parent_path().parent_path() /
           "lib/orbu/R31/QMX.app/Contents/MacOS/QMX";
}

ProcessTest::Client ProcessTest::connect(long timeout) const {
    return Client(QMXPipeNamedConduit::connect(TStr(serverPath().c_str()), TStr(prefix_.c_str()), timeout));
}

void ProcessTest::log(QMXLogLevel level, TStr const& message, void* context) {
    auto* const test = static_cast<ProcessTest*>(context);
    test->log_ += std::to_string(::getpid()) + " " + message.toUtf8() + "\n";
    if (level == QMXLogError) {
        test->errors_.emplace_back(message.toUtf8());
    }
}

long call(QMXPipeNamedConduit& conduit, char const* name, QMXPipePacket& response, long focus) {
    QMXPipePacket request(TStr(name), nullptr, QMXPipe::Synchronous);
    if (focus >= 0) {
        request.setAttribute(TStr("focus_button_index"), focus);
    }
    return conduit.send(&request, &response, 0);
}
