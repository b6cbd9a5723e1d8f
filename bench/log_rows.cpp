#include "rows.h"

#include "orbulog/orbuDebugLog.h"
#include "orbulog/orbuDebugLogger.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <semaphore.h>
#include <string>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

const char message[] = "connected to the companion in 12 milliseconds";

// A home of its own, gone in the end.
class Home {
public:
    Home() {
        char name[] = "/tmp/orbu-bench-XXXXXX";
        folder_ = ::mkdtemp(name) != nullptr ? name : ".";
        ::setenv("HOME", folder_.c_str(), 1);
        ::setenv("ORBU_DEBUG_MODE", "", 1);
        ::mkdir(folder().c_str(), 0770);
    }
    ~Home() {
        ::unlink(log().c_str());
        ::rmdir(folder().c_str());
        ::rmdir(folder_.c_str());
        ::unsetenv("ORBU_DEBUG_MODE");
    }
    std::string folder() const { return folder_ + "/Orbu"; }
    std::string log() const { return folder() + "/OrbuDebug.log"; }

private:
    std::string folder_;
};

// The same entry by hand: the calls that an entry is made of, and nothing around them.
void bareEntry(const Home& home) {
    struct stat info {};
    timeval now{};
    tm local{};
    if (std::getenv("ORBU_DEBUG_MODE") == nullptr || ::stat(home.folder().c_str(), &info) != 0) {
        return;
    }
    ::gettimeofday(&now, nullptr);
    ::tzset();
    ::localtime_r(&now.tv_sec, &local);
    char line[256];
    std::snprintf(line, sizeof line, "%d/%02d/%02d %02d:%02d:%02d %d [OrbuInt] %s \n", 1900 + local.tm_year,
                  local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
                  static_cast<int>(::getpid()), message);
    sem_t* const lock = ::sem_open("OrbuDebug.log.Mutex", O_CREAT, 0644, 1);
    if (lock == SEM_FAILED) {
        return;
    }
    ::sem_trywait(lock);
    if (std::FILE* const file = std::fopen(home.log().c_str(), "a+")) {
        std::fseek(file, 0, SEEK_END);
        std::fputs(line, file);
        std::fclose(file);
    }
    ::sem_post(lock);
    ::sem_close(lock);
    ::sem_unlink("OrbuDebug.log.Mutex");
}

} // namespace

void registerLogRows() {
    benchmark::RegisterBenchmark("log_entry/ours", [](benchmark::State& state) {
        const Home home;
        for (auto _ : state) {
            OrbuDebugLogger logger;
            logger.startLogging();
            logger.log(OrbuDebugLog(Orbu::VendorOrbuInt, message));
        }
    });
    benchmark::RegisterBenchmark("log_entry/bare", [](benchmark::State& state) {
        const Home home;
        for (auto _ : state) {
            bareEntry(home);
        }
    });
}
