#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#ifdef LIFETIME_RUN_LOOP
#include "support/runLoop.h"
#endif

// What the library puts on the exit list, in the order in which it does: every constructor of a static is
// followed by such a call. Entries of others pass through.
namespace {

struct Entry {
    void (*destroy)(void*);
    void* object;
    std::string name;
};

constexpr int most = 64;
Entry* entries = nullptr; // while recording
int entryCount = 0;

void announce(const std::string& line) { std::fputs((line + "\n").c_str(), stderr); }

std::string demangled(const char* symbol) {
    char* const text = abi::__cxa_demangle(symbol, nullptr, nullptr, nullptr);
    std::string result(text != nullptr ? text : symbol);
    std::free(text);
    return result;
}

// The name of the object, else of its destructor; empty when the library shows neither, or is not its owner.
std::string nameOf(void* object, void (*destroy)(void*)) {
    for (void* const address : {object, reinterpret_cast<void*>(destroy)}) {
        Dl_info info;
        if (dladdr(address, &info) != 0 && std::string(info.dli_fname).find("liborbu") != std::string::npos &&
            info.dli_sname != nullptr && info.dli_saddr == address) {
            return demangled(info.dli_sname);
        }
    }
    return {};
}

} // namespace

extern "C" __attribute__((visibility("default"))) int __cxa_atexit(void (*destroy)(void*), void* object,
                                                                   void* library) noexcept {
    using Register = int (*)(void (*)(void*), void*, void*);
    static const auto next = reinterpret_cast<Register>(dlsym(RTLD_NEXT, "__cxa_atexit"));
    const std::string name = entries != nullptr ? nameOf(object, destroy) : std::string();
    if (name.empty() || entryCount == most) {
        return next(destroy, object, library);
    }
    announce("+" + name);
    entries[entryCount] = {destroy, object, name};
    return next(
        [](void* data) {
            const Entry& entry = *static_cast<Entry*>(data);
            announce("-" + entry.name);
            entry.destroy(entry.object);
        },
        &entries[entryCount++], library);
}

namespace {

const std::vector<std::string> hooksInOrder = {"newest hook", "older hook", "top manager", "oldest hook"};

std::vector<std::string> events;

class Host {
public:
    Host() : handle(dlopen(LIFETIME_HOST, RTLD_NOW | RTLD_LOCAL)) { EXPECT_NE(handle, nullptr) << dlerror(); }

    void start(void (*listener)(const char*)) {
        reinterpret_cast<void (*)(void (*)(const char*))>(dlsym(handle, "lifetime_start"))(listener);
    }
    void call(const char* name) { reinterpret_cast<void (*)()>(dlsym(handle, name))(); }
    void unload() { EXPECT_EQ(dlclose(handle), 0); }

private:
    void* const handle;
};

bool mapped(const char* name) {
    std::stringstream maps;
    maps << std::ifstream("/proc/self/maps").rdbuf();
    return maps.str().find(name) != std::string::npos;
}

// Whether the clock of the timers stands on the loop of the main thread, in a build with a loop.
#ifdef LIFETIME_RUN_LOOP
constexpr bool loop = true;
bool clockIsOnTheLoop() { return untilNext(g_main_context_default()) != -1; }
#else
constexpr bool loop = false;
bool clockIsOnTheLoop() { return false; }
#endif

TEST(Unload, RunsTheHooksAndLeavesNothingBehind) {
    const auto listener = [](const char* event) { events.push_back(event); };
    for (const bool tornDownBefore : {false, true, false}) {
        Host host;
        host.start(listener);
        EXPECT_TRUE(events.empty());
        if (tornDownBefore) {
            host.call("lifetime_teardown");
            EXPECT_EQ(std::exchange(events, {}), hooksInOrder);
            host.start(listener);
        }
        EXPECT_TRUE(mapped("liborbu.so"));
        EXPECT_EQ(clockIsOnTheLoop(), loop);
        host.unload();
        EXPECT_EQ(std::exchange(events, {}), hooksInOrder);
        EXPECT_FALSE(mapped("liborbu.so"));
        EXPECT_FALSE(mapped("lifetime_host"));
        EXPECT_FALSE(clockIsOnTheLoop());
    }
}

// A process that loads the library, starts the host, and exits.
void loadAndExit() {
    static Entry recorded[most];
    entries = recorded;
    Host host;
    host.start([](const char* event) { announce(event); });
    std::exit(0);
}

TEST(Exit, RunsTheStaticsOfTheLibraryBackward) {
    const std::string manager = "COrbuUtilObjectManagerManager::~COrbuUtilObjectManagerManager()";
    const std::vector<std::string> statics = {
        "TStr::null",
        "TTimer::mTimers",
        "TTimer::mTimersToBeDeleted",
        manager,
        "gCustomEnvMgr",
        "TStr::~TStr()", // the place that the host named: the library keeps it to itself
        "QMXBasePrivate::mAllocatedBytes",
        "QMXBasePrivate::mAllocatedInstances",
        "OrbuLoggable::msHostName",
        "OrbuLoggable::msPlatformOS",
        "OrbuLogger::mInstance"};
    std::string made, destroyed;
    for (const std::string& name : statics) {
        made += "+" + name + "\n";
        std::string hooks;
        for (const std::string& hook : hooksInOrder) {
            hooks += name == manager ? hook + "\n" : "";
        }
        destroyed = "-" + name + "\n" + hooks + destroyed;
    }
    EXPECT_EXIT(loadAndExit(), testing::ExitedWithCode(0), testing::StrEq(made + destroyed));
}

} // namespace
