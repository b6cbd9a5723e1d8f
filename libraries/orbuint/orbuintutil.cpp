#include "orbuint/orbuintutil.h"

#include "orbuint/orbuintConnectionPrivate.h"
#include "orbuint/orbuintErrorPrivate.h"
#include "orbuint/orbuintResHandler.h"
#include "orbuint/orbuintSigpipePrivate.h"
#include "orbuutil/c_memory.h"
#include "orbuutil/orbuUtil.h"
#include "qmx/qmxPipeNamedConduit.h"
#include "qmx/qmxPipePacket.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <pwd.h>
#include <syslog.h>
#include <unistd.h>

namespace {

constexpr char unit[] = "orbuintutil";
constexpr long connectTimeout = 100000;
constexpr unsigned int dialogOpens = 1;
constexpr unsigned int dialogCloses = 2;

// What every dialog does with its request, on a connection that ends with the caller.
bool ask(Connection const& connection, QMXPipePacket& request, QMXPipePacket& response) {
    OrbuIntUtil::orbuIntSetQMXDlgDisplay(connection.get(), true);
    long const result = OrbuIntUtil::sendQMXPacket(connection.get(), &request, &response, 0);
    OrbuIntUtil::orbuIntSetQMXDlgDisplay(connection.get(), false);
    return result == SendDone;
}

// Sets a button's label. The string resources answer for an id that they do not have, too.
void setButton(QMXPipePacket& request, char const* name, TStr const& id) {
    if (!id.isNull()) {
        request.setAttribute(name, COrbuIntResHandler::instance()->getString(id));
    }
}

} // namespace

bool OrbuIntUtil::showErrorDialog(TStr const& caption, TStr const& title, TStr const& detail,
                                  qmx::iconSelector icon) {
    SigpipeGuard const guard;
    Connection const connection(getQMXPipeConduit());
    if (connection.get() == nullptr) {
        private_log_int_error(Orbu::VendorOrbuInt, OrbuIntNoConnection, unit, __LINE__);
        return false;
    }
    QMXPipePacket request("orbu.ErrorDialog", nullptr, QMXPipe::Synchronous);
    request.setAttribute("selector", TStr("ErrorDialogBase"));
    request.setAttribute("locale", getAppLocale());
    request.setAttribute("caption", caption);
    request.setAttribute("title", title);
    request.setAttribute("icon", icon);
    // Words for the server, not booleans of ours: hence the capitals.
    request.setAttribute("enable_description", TStr(detail.isEmpty() ? "False" : "True"));
    if (!detail.isEmpty()) {
        request.setAttribute("detail", detail);
    }
    QMXPipePacket response(QMXPipe::SynchronicityDefault);
    return ask(connection, request, response);
}

long OrbuIntUtil::showMessageBox(TStr const& caption, TStr const& title, qmx::iconSelector icon,
                                 TStr const& button0, TStr const& button1, long focus) {
    SigpipeGuard const guard;
    Connection const connection(getQMXPipeConduit());
    if (connection.get() == nullptr) {
        private_log_int_error(Orbu::VendorOrbuInt, OrbuIntNoConnection, unit, __LINE__);
        return -1;
    }
    QMXPipePacket request("qmx.MessageBox", nullptr, QMXPipe::Synchronous);
    request.setAttribute("caption", caption);
    request.setAttribute("title", title);
    request.setAttribute("locale", getAppLocale());
    request.setAttribute("icon", icon);
    setButton(request, "button_0", button0);
    setButton(request, "button_1", button1);
    request.setAttribute("focus_button_index", focus);
    QMXPipePacket response(QMXPipe::SynchronicityDefault);
    return ask(connection, request, response) ? response.attributeAsLong("selected_button") : -1;
}

QMXPipeNamedConduit* OrbuIntUtil::getQMXPipeConduit() {
    TStr const folder = OrbuUtil::getOrbuFileLocation(OrbuUtil::CommonBin, "");
    if (folder.isEmpty()) {
        return nullptr;
    }
    SigpipeGuard const guard;
    return QMXPipeNamedConduit::connect(folder + "QMX.app/Contents/MacOS/" + "QMX",
                                        QMXPipeNamedConduit::defaultPipePrefix("QMX"), connectTimeout);
}

long OrbuIntUtil::sendQMXPacket(QMXPipeNamedConduit* conduit, QMXPipePacket* request, QMXPipePacket* response,
                                long timeout) {
    if (conduit == nullptr || request == nullptr) {
        return OrbuIntRefused;
    }
    SigpipeGuard const guard;
    RequestUnderWay const underWay(conduit);
    long const result = conduit->send(request, response, timeout);
    if (result != SendDone) {
        private_log_int_error(Orbu::VendorOrbuQMX, result, unit, __LINE__);
    }
    return result;
}

bool OrbuIntUtil::orbuIntSetQMXDlgDisplay(QMXPipeNamedConduit* conduit, bool open) {
    COrbuIntHost const* const host = COrbuIntHost::instance();
    if (host == nullptr) {
        return false;
    }
    if (conduit != nullptr) {
        conduit->setProcessEventsCallback(open ? orbuQMXPipeCB : nullptr, nullptr);
    }
    COrbuIntHost::DialogDisplayCallback const callback = host->dialogDisplayCallback();
    if (callback != nullptr) {
        auto* const event = static_cast<unsigned int*>(std::malloc(sizeof(unsigned int)));
        if (event != nullptr) {
            *event = open ? dialogOpens : dialogCloses;
        }
        HostSignals const signals;
        callback(event, host->dialogDisplayContext()); // the block is the host's now
    }
    return true;
}

void OrbuIntUtil::orbuQMXPipeCB(void*) {
    COrbuIntHost const* const host = COrbuIntHost::instance();
    if (host != nullptr && host->processEventsCallback() != nullptr) {
        HostSignals const signals;
        host->processEventsCallback()(host->processEventsContext());
    }
    RequestUnderWay::check();
}

bool OrbuIntUtil::sendErrorMsgToApp(TStr const& text) {
    COrbuIntHost::AppMsgCallback const callback = getAppMsgCB();
    if (callback == nullptr) {
        return false;
    }
    auto* const record = static_cast<orbuSTRING*>(std::malloc(sizeof(orbuSTRING)));
    if (record == nullptr) {
        return false;
    }
    *record = {};
    if (!OrbuUtil::TStrToorbuSTRING(text, record, false) || record->data == nullptr) {
        memory_free(record->data);
        std::free(record);
        return false;
    }
    HostSignals const signals;
    callback(record);
    return true;
}

TStr OrbuIntUtil::getAppLocale() {
    COrbuIntHost const* const host = COrbuIntHost::instance();
    return host != nullptr ? host->locale() : TStr("");
}

COrbuIntHost::AppMsgCallback OrbuIntUtil::getAppMsgCB() {
    COrbuIntHost const* const host = COrbuIntHost::instance();
    return host != nullptr ? host->appMsgCB() : nullptr;
}

void* OrbuIntUtil::orbuIntAlloc(size_t size) { return std::malloc(size); }

void OrbuIntUtil::orbuIntDealloc(void* block) { std::free(block); }

bool OrbuIntUtil::getCurrentUserName(TStr& result, bool numeric) {
    uid_t const id = ::geteuid();
    if (numeric) {
        result = TStr::number(static_cast<long>(id));
        return true;
    }
    passwd const* const user = ::getpwuid(id);
    result = TStr(user != nullptr ? user->pw_name : "");
    return user != nullptr;
}

TStr OrbuIntUtil::getCurrentUserDomain() {
    FILE* const lines = ::popen("cat /etc/resolv.conf | grep -v '^=' | grep domain | awk '{print $2}'", "r");
    if (lines == nullptr) {
        return TStr("");
    }
    TStr domain("");
    char line[2048];
    while (domain.isEmpty() && std::fgets(line, sizeof line, lines) != nullptr) {
        // stripWhiteSpace() leaves a text as it is that is nothing but white space.
        domain = TStr(line + std::strspn(line, " \t\n\v\f\r")).stripWhiteSpace();
    }
    ::pclose(lines);
    return domain;
}

void OrbuIntUtil::msg_debug(char const* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    ::openlog("orbuint", LOG_PID, LOG_USER);
    ::vsyslog(LOG_ERR, format, arguments);
    ::closelog();
    va_end(arguments);
}
