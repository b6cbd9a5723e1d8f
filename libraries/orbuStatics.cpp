// Every object of the library that is constructed at load time, in load order. Read from the top this is
// start-up, and from the bottom it is shutdown: the process's exit list runs what is registered here
// backward. No other source of the library has a dynamic initialiser; what they hold is constinit or made on
// first use.
#include "orbuutil/orbuUtilCustomEnv.h"
#include "orbuutil/orbuUtilPrivate.h"
#include "orbuutil/orbuutilObjectManager.h"
#include "orbuutil/tstr.h"
#include "qmx/qmxBase.h"

// The string without a handle: hosts pass it and test for it.
const TStr TStr::null{static_cast<void* const&>(nullptr)};

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
