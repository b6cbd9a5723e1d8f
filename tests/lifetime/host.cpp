// The part of a host that is loaded with the library: it makes the singletons and registers hooks, and tells
// what happens to them.
#include "orbuint/orbuintHost.h"
#include "orbuint/orbuintResHandler.h"
#include "orbulog/orbuLogger.h"
#include "orbuutil/orbuSingleton.h"
#include "orbuutil/tstr.h"
#include "orbuutil/ttimer.h"

#include <cstring>

static void (*told)(const char* event);

static void tell(const char* event, bool holds) {
    // Strings are there to the end.
    told(TStr("%1%2").arg(TStr(event)).arg(TStr(holds ? "" : ", and not as it should be")).toUtf8());
}

static int ignore(void*) { return 0; }

struct TopManager {
    ~TopManager() {
        // So are timers, and what was made before.
        TTimer::setManualClock(true, 0);
        const int id = TTimer::add(0, ignore, nullptr, true);
        TTimer::clock();
        const bool timers = TTimer::getTimer(id) != nullptr && TTimer::remove(id);
        TTimer::setManualClock(false, 15);
        tell("top manager", timers && COrbuIntHost::instance() != nullptr &&
                                OrbuLogger::instance_m()->getLogFileName() == "general.log" &&
                                COrbuIntResHandler::instance()->getString("any") == "");
    }
};

static void hook(void* object, void* param) {
    const bool refused = COrbuUtilObjectManager::at_exit(&told, hook, nullptr) == -1;
    const char* const name = static_cast<const char*>(param);
    const bool host = (COrbuIntHost::instance() == nullptr) == (std::strcmp(name, "oldest hook") == 0);
    tell(name, TStr::null.isNull() && refused && host && object != nullptr);
}

extern "C" ORBU_EXPORT void lifetime_start(void (*listener)(const char*)) {
    static char objects[3];
    told = listener;
    COrbuUtilObjectManager::at_exit(&objects[0], hook, const_cast<char*>("oldest hook"));
    COrbuIntHost::initialize("en_US", nullptr);
    OrbuLogger::instance_m()->setLogFileName("general.log");
    COrbuUtilSingleton<TopManager>::instance();
    COrbuUtilObjectManager::at_exit(&objects[1], hook, const_cast<char*>("older hook"));
    COrbuUtilObjectManager::at_exit(&objects[2], hook, const_cast<char*>("newest hook"));
    // The clock stands on the event loop when the library goes.
    TTimer::setManualClock(false, 15);
}

extern "C" ORBU_EXPORT void lifetime_teardown() { COrbuUtilObjectManagerManager::cleanup(); }
