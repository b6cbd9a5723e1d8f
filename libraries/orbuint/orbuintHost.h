// COrbuIntHost: what the host has told the library about itself, and the library's start and end in a host.
//
//   COrbuIntHost::initialize(locale, errorTexts, logFile);    first thing on the thread that shows dialogs
//   COrbuIntHost::instance()->setAppProcessEventsCallback(pump, window);
//   ...                                                       dialogs: orbuintutil.h, OrbuIntWaitDialog.h
//   COrbuIntHost::shutdown();                                 or nothing: exit() and dlclose do the same
//
// - One for the process. Before initialize and after the end there is none, instance() is null, and dialogs
//   work all the same: without a locale, without callbacks, and with buttons that have no label.
// - Callbacks belong to the host and are called on the thread that shows the dialog, with the host's own
//   signal mask. A callback may call anything here, shutdown() too. An exception that it lets out ends the
//   dialog and passes through; that the dialog has closed is not told then.
// - Threads: none but the one that shows the dialogs.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/orbuString.h"
#include "orbuutil/orbuutilObjectManager.h"
#include "orbuutil/tstr.h"

// What the functions of this layer return, and the code in their error records (vendor 1).
enum OrbuIntStatus : int {
    OrbuIntDone = 0,
    OrbuIntRefused = 1,       // a null argument, or the process is shutting down; no record
    OrbuIntRequestFailed = 2, // a wait dialog's request
    OrbuIntNoResources = 3,   // the locale has no string resources
    OrbuIntNoConnection = 5,  // the companion server cannot be reached
    OrbuIntNotConnected = 8,  // a wait dialog was closed that has no connection
};

class ORBU_EXPORT COrbuIntHost : public COrbuUtilCleanup {
public:
    // Takes an error text for the application; both the record and its data are the host's from then on:
    // memory_free (c_memory.h) for the data, OrbuIntUtil::orbuIntDealloc for the record.
    typedef void (*AppMsgCallback)(orbuSTRING* text);
    // Lets the host's event loop run once around, without blocking. Called about 5,000 times a second during
    // a wait.
    typedef void (*ProcessEventsCallback)(void* context);
    // Told that a dialog opens (*event is 1) and has closed (2). The block is the host's from then on
    // (OrbuIntUtil::orbuIntDealloc); it is null when memory is exhausted.
    typedef void (*DialogDisplayCallback)(unsigned int* event, long context);

    // Makes the singletons in their order (orbuintSingletonOrder.h), then the record, and loads the string
    // resources of the locale (of the default one, if it is empty or not supported). A log file that is not
    // empty becomes that of the general log, OrbuLogger::instance_m(). `errorTexts` may be null.
    // A second call replaces locale and callback; the resources stay those of the first.
    // OrbuIntDone; OrbuIntNoResources, with a record in the general log, when all is well but for the labels
    // of buttons, which are empty then; OrbuIntRefused while the process shuts down.
    static int initialize(TStr const& locale, AppMsgCallback errorTexts, TStr const& logFile = TStr::null);

    // The orderly end, before exit() or dlclose would do it: COrbuUtilObjectManagerManager::cleanup(). The
    // host's own singletons go with it, newest first; then this record, and with it the connection of wait
    // dialogs that are still there; then the general log and the resources. initialize() starts afresh
    // afterwards. Without effect inside a hook of the object manager.
    static void shutdown();

    // Null before initialize and after the end.
    static COrbuIntHost* instance();

    COrbuIntHost(COrbuIntHost const&) = delete;
    COrbuIntHost& operator=(COrbuIntHost const&) = delete;
    ~COrbuIntHost() override;

    // The callback of each round of a wait, and what it is called with; null: none. Returns 0.
    int setAppProcessEventsCallback(ProcessEventsCallback callback, void* context);
    // The callback around each dialog, and its second argument; null: none. Returns 0.
    int setOrBUDialogDisplayCallback(DialogDisplayCallback callback, long context);

    AppMsgCallback appMsgCB() const { return mAppMsgCB; }
    ProcessEventsCallback processEventsCallback() const { return mProcessEventsCallback; }
    void* processEventsContext() const { return mProcessEventsContext; }
    DialogDisplayCallback dialogDisplayCallback() const { return mDialogDisplayCallback; }
    long dialogDisplayContext() const { return mDialogDisplayContext; }
    TStr locale() const { return mLocale; } // as the host gave it

private:
    COrbuIntHost() = default;

    AppMsgCallback mAppMsgCB = nullptr;
    ProcessEventsCallback mProcessEventsCallback = nullptr;
    void* mProcessEventsContext = nullptr;
    DialogDisplayCallback mDialogDisplayCallback = nullptr;
    long mDialogDisplayContext = 0;
    TStr mLocale = TStr("");

    static COrbuIntHost* sInstance;
};
