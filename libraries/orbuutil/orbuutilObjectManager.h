// The orderly shutdown of the process's shared objects: one list of cleanup entries, run newest first.
//
// What a host sees:
// - When: the list runs at exit(), at a return from main, when the library is unloaded with dlclose, or early
//   at COrbuUtilObjectManagerManager::cleanup(), on the thread that does so. exit_no_hooks (c_daemon.h) runs
//   none of it, nor does _exit.
// - Order: the newest entry first, each once. What the library itself holds goes backward from its load: the
//   statics of the logs, the two counters and the custom environment are gone before the first entry runs;
//   TStr::null and the timers' lists outlive the last. So a destructor that runs from an entry may use
//   strings and timers; it must not use the custom environment, the host name or OrbuLogger::instance().
// - While it runs, no entry is taken: at_exit gives -1. An object that is made for the first time then stays
//   alive and is never destroyed; the process is ending.
// - Afterwards the next use starts afresh, with a new manager and an empty list. The exit list deals with
//   whatever manager exists then. A library that was unloaded and is loaded again starts like the first time.
// - Ownership: an entry holds its object without owning it; what its hook does is the registrar's choice.
// - Threads: there is no lock anywhere in here. Managers and singletons are made on one thread, which is why
//   a host's entry point constructs COrbuIntSingletonOrder first.
#pragma once

#include "orbuutil/orbuExport.h"

#include <cstdint>

// The root of everything that the manager may destroy by itself.
class ORBU_EXPORT COrbuUtilCleanup {
public:
    virtual ~COrbuUtilCleanup();
    // Called once, with the value that was registered. Here it deletes the object and ignores `param`.
    virtual void cleanup(void* param);
};

// Calls object->cleanup(param). As the hook of an entry it says that the entry's object is a
// COrbuUtilCleanup.
ORBU_EXPORT void ORBU_CLEANUP_DESTROYER_NAME(COrbuUtilCleanup* object, void* param);

// What an entry calls: its object and its value.
typedef void (*COrbuUtilCleanupHook)(void* object, void* param);

// Used by its address alone. An entry with this object is a plain exit hook: it gets two null arguments. No
// entry of the library is one; the form is there for hosts, and as for any object there is room for one.
extern ORBU_EXPORT int orbu_exit_hook_marker;

// One entry. A new one is all zero.
struct ORBU_EXPORT COrbuUtilCleanupInfo {
    void* object = nullptr; // never dereferenced by the list
    COrbuUtilCleanupHook cleanup_hook = nullptr;
    void* param = nullptr;

    bool operator==(COrbuUtilCleanupInfo const& other) const; // all three are equal
    bool operator!=(COrbuUtilCleanupInfo const& other) const;
};

// An entry in a list that grows at its head. A node owns those behind it.
class ORBU_EXPORT COrbuUtilCleanupInfoNode {
public:
    COrbuUtilCleanupInfoNode() = default; // all zero
    COrbuUtilCleanupInfoNode(COrbuUtilCleanupInfo const& info, COrbuUtilCleanupInfoNode* behind);
    COrbuUtilCleanupInfoNode(COrbuUtilCleanupInfoNode const&) = delete;
    COrbuUtilCleanupInfoNode& operator=(COrbuUtilCleanupInfoNode const&) = delete;
    // Deletes the nodes behind this one, in a loop: the length of a list costs no stack.
    ~COrbuUtilCleanupInfoNode();

    // A new node with `info`, in front of this one. The caller makes it the head.
    COrbuUtilCleanupInfoNode* insert(COrbuUtilCleanupInfo const& info);

    void* object = nullptr;
    COrbuUtilCleanupHook cleanup_hook = nullptr;
    void* param = nullptr;
    COrbuUtilCleanupInfoNode* next = nullptr;
};

// Owns one list. The last node is a zeroed sentinel that belongs to the list and is never looked at.
class ORBU_EXPORT COrbuUtilExitInfo {
public:
    COrbuUtilExitInfo();
    COrbuUtilExitInfo(COrbuUtilExitInfo const&) = delete;
    COrbuUtilExitInfo& operator=(COrbuUtilExitInfo const&) = delete;
    // Frees the nodes without running them.
    ~COrbuUtilExitInfo();

    // Puts an entry at the head, without a look at what is there. Always 0.
    int at_exit_i(void* object, COrbuUtilCleanupHook hook, void* param);
    // 1 when an entry has this object, with whatever hook; null is an object like any other. Else 0.
    int find(void* object) const;
    // Runs all hooks from the head on. The nodes stay. An entry with nothing to call is passed over.
    void call_hooks();

private:
    COrbuUtilCleanupInfoNode* registered_objects;
};

// What managers have in common: where they are in their life, which goes upward only.
class ORBU_EXPORT COrbuUtilObjectManagerBase {
public:
    COrbuUtilObjectManagerBase(COrbuUtilObjectManagerBase const&) = delete;
    COrbuUtilObjectManagerBase& operator=(COrbuUtilObjectManagerBase const&) = delete;
    virtual ~COrbuUtilObjectManagerBase();

    virtual int init() = 0;
    virtual int fini() = 0;

    bool starting_up_i() const;   // not yet ready
    bool shutting_down_i() const; // running its hooks, or done with them

protected:
    enum State : std::int32_t {
        Uninitialized = 0,
        Initializing = 1,
        Initialized = 2, // entries are taken up to here
        ShuttingDown = 3,
        ShutDown = 4,
    };

    COrbuUtilObjectManagerBase();

    State object_manager_state;
    bool dynamically_allocated;       // made by instance(), so that fini() deletes it
    COrbuUtilObjectManagerBase* next; // for a chain of managers; written by init() and read by nothing
};

// The manager of the process, and the list of its entries.
class ORBU_EXPORT COrbuUtilObjectManager : public COrbuUtilObjectManagerBase {
public:
    // Becomes the process's manager if there is none, and calls init(). One that a host makes itself is
    // either made with new, as the teardown deletes it, or gone before the teardown.
    COrbuUtilObjectManager();
    // Does what fini() does, unless that is done, and frees the list. A hook that throws ends the process.
    ~COrbuUtilObjectManager() override;

    // The process's manager, made on first use; never null.
    static COrbuUtilObjectManager* instance();

    // Register with the process's manager: 0, or -1 when it is shutting down or has an entry with this object
    // already, also one with another hook. The first form calls object->cleanup(param).
    static int at_exit(COrbuUtilCleanup* object, void* param);
    static int at_exit(void* object, COrbuUtilCleanupHook hook, void* param);

    // The same, on this manager.
    int at_exit_i(void* object, COrbuUtilCleanupHook hook, void* param);

    // 0 when it made the manager ready, 1 when that was done before. The constructor calls it.
    int init() override;

    // Runs the hooks and gives 0; 1 when they have run, -1 when they are running. A manager that instance()
    // made is deleted by this: the pointer is spent.
    int fini() override;

private:
    friend class COrbuUtilObjectManagerManager;

    void shut_down();

    COrbuUtilExitInfo exit_info;

    static COrbuUtilObjectManager* instance_;
};

// Ties the process's manager to load and exit. The library holds the only instance.
class ORBU_EXPORT COrbuUtilObjectManagerManager {
public:
    COrbuUtilObjectManagerManager();
    ~COrbuUtilObjectManagerManager();
    COrbuUtilObjectManagerManager(COrbuUtilObjectManagerManager const&) = delete;
    COrbuUtilObjectManagerManager& operator=(COrbuUtilObjectManagerManager const&) = delete;

    // The host's early teardown: deletes the process's manager, which runs the hooks. The next use of the
    // manager or of a singleton makes a new one. Called from inside a hook it does nothing: the teardown is
    // under way.
    static void cleanup();
};
