// Every object of the library that is constructed at load time, in load order. Read from the top this is
// start-up, and from the bottom it is shutdown: the process's exit list runs what is registered here
// backward. No other source of the library has a dynamic initialiser; what they hold is constinit or made on
// first use.
#include "orbulog/orbuLoggable.h"
#include "orbulog/orbuLogger.h"
#include "orbuutil/orbuUtilCustomEnv.h"
#include "orbuutil/orbuUtilPrivate.h"
#include "orbuutil/orbuutilObjectManager.h"
#include "orbuutil/tstr.h"
#include "orbuutil/ttimer.h"
#include "qmx/qmxBase.h"

// The string without a handle: hosts pass it and test for it.
const TStr TStr::null{static_cast<void* const&>(nullptr)};

// All timers, and the ids of those that a tick leaves to be removed. The timers themselves are not deleted,
// but the clock is taken off the host's event loop first: a later tick would find no code to run.
std::vector<TTimer*> TTimer::mTimers;
std::vector<std::int32_t> TTimer::mTimersToBeDeleted;
static struct ClockStop {
    ~ClockStop() { TTimer::cancelSytemTimer(); }
} clockStop;

// The object manager, and what deletes it at exit: by then everything below is gone, and its hooks run while
// everything above is alive.
static COrbuUtilObjectManagerManager COrbuUtilObjectManagerManagerInstance;

// The custom environment, and the place where the host says that it is installed. Both are gone before the
// hooks of the object manager run.
COrbuUtilCustomEnv gCustomEnvMgr;
TStr OrbuUtil_CustomInstallLocationPath("");

// The two built-in counters. At exit they report on standard error what was counted and not taken off.
QMXBaseStaticCounter QMXBasePrivate::mAllocatedBytes("QMXBase Allocated Bytes", 0);
QMXBaseStaticCounter QMXBasePrivate::mAllocatedInstances("QMXBase Allocated Instances", 0);

// What the logs keep: the names of host and system, and the logger of OrbuLogger::instance().
TStr OrbuLoggable::msHostName("");
TStr OrbuLoggable::msPlatformOS("");
std::unique_ptr<OrbuLogger> OrbuLogger::mInstance;
