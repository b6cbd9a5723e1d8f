// OrbuIntUtil: the host's dialogs, which the companion server shows, and what belongs to them.
//
// A dialog is a request over a connection of its own: getQMXPipeConduit() finds the server of this process or
// starts it, the packet goes out, the answer comes back, the connection ends. Nothing is kept between dialogs
// (but see OrbuIntWaitDialog.h).
//
// - A dialog blocks the calling thread until it is closed, without limit. In each round of that wait the
//   host's process-events callback runs, so its windows live on (orbuintHost.h). It does not run while the
//   server is started, which takes some milliseconds.
// - Failures: a false result or a number, and a record (COrbuIntError, source unit "orbuintutil") in the
//   general log, OrbuLogger::instance_m(). A server that dies ends a wait at once; one that cannot be started
//   is given up after 100,000 rounds, which are some 20 seconds. Nothing stops the host: SIGPIPE does not
//   reach it, and its disposition and mask stay as they are, inside its callbacks too.
// - One at a time. All connections of a process share one FIFO for what comes back, and the first to end
//   takes it away from the others. So when a process-events callback opens a dialog while another stands, the
//   new one works, and as it closes the outer one fails: its window goes, and it gives no answer (the record
//   is 1 of vendor 8). Requests that want no answer, those of the wait dialog, are not affected: see there.
// - Texts are plain, in UTF-8. A null text is not sent; an empty one is.
// - Threads: the host's one thread for dialogs.
#pragma once

#include "orbuint/orbuintHost.h"
#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

#include <cstddef>

class QMXPipeNamedConduit;
class QMXPipePacket;

namespace qmx {
// The picture in a dialog, a number that the server knows. The library hands it on. QMX shows 1 error,
// 2 question, 3 warning, 4 information, and none for any other.
using iconSelector = long;
} // namespace qmx

namespace OrbuIntUtil {

// --- dialogs ---

// Shows a text, with a detail text that may be empty, and waits until it is closed. True when it was. The
// request is one line, escaped; one longer than a FIFO takes at once (64 KiB on Linux) arrives cut, and the
// dialog shows what came.
ORBU_EXPORT bool showErrorDialog(TStr const& caption, TStr const& title, TStr const& detail,
                                 qmx::iconSelector icon);

// Shows a text with two buttons and waits for one of them. The labels are the string resources with these
// ids ("yes", "no"; see orbuintResHandler.h), so an unknown id gives an empty label; a null id leaves the
// button out. `focus` is the index of the button that Return presses. Gives the index of the button that was
// pressed, as the server tells it; -1 when there is no answer.
ORBU_EXPORT long showMessageBox(TStr const& caption, TStr const& title, qmx::iconSelector icon,
                                TStr const& button0, TStr const& button1, long focus);

// --- for requests of the host's own ---

// A new connection to this process's server, which is started if need be; null when it cannot be had (and
// without a try when there is no common bin folder). The caller owns it: terminate(true), then delete, both
// with SIGPIPE blocked if the host does not ignore it.
ORBU_EXPORT QMXPipeNamedConduit* getQMXPipeConduit();

// Sends the request and waits for the response if it is synchronous and `response` not null. 0, or the result
// of QMXPipeConduit::send, with a record of vendor 8; 1, without one, for a null conduit or request.
// `timeout` is handed to that function in the place of its writer: pass 0, which means all writers. There is
// no time limit, and any other number is a writer that does not exist (result 1). Hosts depend on it.
ORBU_EXPORT long sendQMXPacket(QMXPipeNamedConduit* conduit, QMXPipePacket* request, QMXPipePacket* response,
                               long timeout);

// Goes around a dialog's request: true before it, false after it. Hangs orbuQMXPipeCB into the conduit, which
// may be null, or takes it out, and tells the host (DialogDisplayCallback). False, and nothing done, without
// a host record.
ORBU_EXPORT bool orbuIntSetQMXDlgDisplay(QMXPipeNamedConduit* conduit, bool open);

// Runs the host's process-events callback, if there is one. The argument has no effect.
ORBU_EXPORT void orbuQMXPipeCB(void* unused);

// --- the host ---

// Hands a text to the host's callback for error texts, with its length in units and a zero unit behind it.
// True when the host took it; false without a record or callback, or when memory is exhausted.
ORBU_EXPORT bool sendErrorMsgToApp(TStr const& text);

// The locale of the host record; empty without one.
ORBU_EXPORT TStr getAppLocale();
// The host's callback for error texts; null without one.
ORBU_EXPORT COrbuIntHost::AppMsgCallback getAppMsgCB();

// malloc(3) and free(3), for memory that crosses to the host.
ORBU_EXPORT void* orbuIntAlloc(size_t size);
ORBU_EXPORT void orbuIntDealloc(void* block);

// --- the user ---

// The effective user: the id in decimal (geteuid(2)) when `numeric`, else the name (getpwuid(3)). False, and
// an empty result, when the id has no name.
ORBU_EXPORT bool getCurrentUserName(TStr& result, bool numeric);

// The second word of the first line in /etc/resolv.conf that has "domain" in it and does not begin with "=",
// by a shell (popen(3)). Empty when there is none. Whatever the line is about: "search domain example" gives
// "domain". Hosts depend on it.
ORBU_EXPORT TStr getCurrentUserDomain();

// One line to the system log at LOG_ERR, under the identity "orbuint" with the process id; else as the
// function of that name in c_syslog.h.
ORBU_EXPORT void msg_debug(char const* format, ...) __attribute__((format(printf, 1, 2)));

} // namespace OrbuIntUtil
