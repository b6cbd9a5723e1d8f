#include "process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <stdexcept>

double cpuSeconds(pid_t process) {
    clockid_t clock = CLOCK_PROCESS_CPUTIME_ID;
    timespec used = {};
    if ((process != 0 && clock_getcpuclockid(process, &clock) != 0) || clock_gettime(clock, &used) != 0) {
        throw std::runtime_error("no CPU clock of that process");
    }
    return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

double median(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

Child::Child(const std::function<void()>& body) : mPid(fork()) {
    if (mPid < 0) {
        throw std::runtime_error("fork failed");
    }
    if (mPid == 0) {
        body();
        _exit(0);
    }
}

Child::~Child() {
    kill(mPid, SIGKILL);
    waitpid(mPid, nullptr, 0);
}

TemporaryDirectory::TemporaryDirectory()
    : mPath((std::filesystem::temp_directory_path() / "orbu-bench-XXXXXX").string()) {
    if (mkdtemp(mPath.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}
