#include <gmock/gmock.h>

#include <cstdlib>
#include <cxxabi.h>
#include <dlfcn.h>
#include <fstream>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#ifdef LIFETIME_RUN_LOOP
#include <glib.h>
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
int output = -1;

void announce(const std::string& line) {
    const std::string text = line + "\n";
    EXPECT_EQ(::write(output, text.data(), text.size()), static_cast<ssize_t>(text.size()));
}

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

using testing::ElementsAre;
using testing::ElementsAreArray;

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

bool mapped(const std::string& name) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find(name) != std::string::npos) {
            return true;
        }
    }
    return false;
}

// Whether the clock of the timers stands on the loop of the main thread.
bool clockIsOnTheLoop() {
#ifdef LIFETIME_RUN_LOOP
    GMainContext* const context = g_main_context_default();
    gint priority = 0, timeout = 0;
    GPollFD fds[8];
    EXPECT_TRUE(g_main_context_acquire(context));
    g_main_context_prepare(context, &priority);
    g_main_context_query(context, priority, &timeout, fds, 8);
    g_main_context_release(context);
    return timeout != -1;
#else
    return false;
#endif
}

TEST(Unload, RunsTheHooksAndLeavesNothingBehind) {
    for (int round = 1; round <= 3; ++round) {
        SCOPED_TRACE(round);
        events.clear();
        Host host;
        host.start([](const char* event) { events.push_back(event); });
        EXPECT_TRUE(mapped("liborbu.so"));
#ifdef LIFETIME_RUN_LOOP
        EXPECT_TRUE(clockIsOnTheLoop());
#endif
        EXPECT_THAT(events, ElementsAre());
        host.unload();
        EXPECT_EQ(events, hooksInOrder);
        EXPECT_FALSE(mapped("liborbu.so"));
        EXPECT_FALSE(mapped("lifetime_host"));
        EXPECT_FALSE(clockIsOnTheLoop());
    }
}

TEST(Unload, RunsWhatWasRegisteredAfterAnEarlyTeardown) {
    events.clear();
    Host host;
    const auto listener = [](const char* event) { events.push_back(event); };
    host.start(listener);
    host.call("lifetime_teardown");
    EXPECT_EQ(events, hooksInOrder);
    events.clear();
    host.start(listener);
    host.unload();
    EXPECT_EQ(events, hooksInOrder);
    EXPECT_FALSE(mapped("liborbu.so"));
}

// The lines of a process that loads the library, does something, and ends in its own way.
std::vector<std::string> linesOf(const std::function<void(Host&)>& body) {
    int ends[2];
    EXPECT_EQ(::pipe(ends), 0);
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child == 0) {
        output = ends[1];
        static Entry recorded[most];
        entries = recorded;
        Host host;
        host.start([](const char* event) { announce(event); });
        body(host);
        ::_exit(100);
    }
    ::close(ends[1]);
    std::string text;
    char buffer[4096];
    for (ssize_t got = 0; (got = ::read(ends[0], buffer, sizeof buffer)) > 0;) {
        text.append(buffer, static_cast<size_t>(got));
    }
    ::close(ends[0]);
    int status = -1;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);

    std::vector<std::string> lines;
    for (size_t at = 0; at < text.size();) {
        const size_t end = text.find('\n', at);
        lines.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return lines;
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
        "OrbuLogger::mInstance",
    };
    std::vector<std::string> expected;
    for (const std::string& name : statics) {
        expected.push_back("+" + name);
    }
    for (auto name = statics.rbegin(); name != statics.rend(); ++name) {
        expected.push_back("-" + *name);
        if (*name == manager) {
            expected.insert(expected.end(), hooksInOrder.begin(), hooksInOrder.end());
        }
    }
    EXPECT_THAT(linesOf([](Host&) { std::exit(0); }), ElementsAreArray(expected));
}

TEST(Exit, RunsNothingWhenLeftWithoutHooks) {
    std::vector<std::string> lines = linesOf([](Host& host) { host.call("lifetime_leave_without_hooks"); });
    EXPECT_FALSE(lines.empty());
    for (const std::string& line : lines) {
        EXPECT_EQ(line[0], '+');
    }
}

} // namespace
