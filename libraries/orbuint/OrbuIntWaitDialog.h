// COrbuIntWaitDialog: a "please wait" window for as long as the host is busy, which the companion server
// shows.
//
//   COrbuIntWaitDialog wait(true);    the server comes up while the host begins its work
//   wait.show();
//   ...
//   wait.close();
//
// - All instances share one connection, made by the first that needs it and ended with the last instance. So
//   waits nest: the server counts them, and shows one window while any is open.
// - Nothing waits for the window, and the process-events callback does not run: show() and close() send and
//   return. The destructor does not close a wait; the end of the connection takes the window away.
// - A connection whose server has died is kept, and what is sent on it is lost without a word: the result is
//   0. It is made anew when the last instance has gone.
// - Other dialogs (orbuintutil.h) at the same time. Both connections use the one FIFO of the process for what
//   comes back, and the first to end takes it away from the other.
//     A dialog within the life of an instance, as when an error is shown during a wait: both work. Afterwards
//     show() and close() go on working, and the end of the wait's connection does not wait for the server.
//     An instance that makes its connection and is the last to go while a dialog stands, from the
//     process-events callback: the wait works, and the dialog fails as it ends. Keep an instance that was
//     connected before.
// - Failures: the numbers of OrbuIntStatus, and a record (COrbuIntError, source unit "OrbuIntWaitDialog") in
//   the general log. SIGPIPE does not reach the host.
// - Threads: one. Count and connection are plain statics.
#pragma once

#include "orbuutil/orbuExport.h"

class QMXPipeNamedConduit;

class ORBU_EXPORT COrbuIntWaitDialog {
public:
    // With `connectNow` it makes the connection if there is none. That this fails shows at show().
    explicit COrbuIntWaitDialog(bool connectNow);
    COrbuIntWaitDialog(COrbuIntWaitDialog const&) = delete;
    COrbuIntWaitDialog& operator=(COrbuIntWaitDialog const&) = delete;
    // The last instance ends the connection.
    ~COrbuIntWaitDialog();

    // Opens a wait, making the connection if there is none. OrbuIntDone; OrbuIntNoConnection;
    // OrbuIntRequestFailed.
    int show();
    // Closes one. OrbuIntDone; OrbuIntNotConnected; OrbuIntRequestFailed.
    int close();

private:
    friend class COrbuIntHost;

    static int send(bool waiting);
    static void disconnect();

    static int mRefCount;
    static QMXPipeNamedConduit* mpConduit;
};
