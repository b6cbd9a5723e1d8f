#include "orbuint/OrbuIntWaitDialog.h"

#include "orbuint/orbuintConnectionPrivate.h"
#include "orbuint/orbuintErrorPrivate.h"
#include "orbuint/orbuintutil.h"
#include "qmx/qmxPipeNamedConduit.h"
#include "qmx/qmxPipePacket.h"

#include <utility>

constinit int COrbuIntWaitDialog::mRefCount = 0;
constinit QMXPipeNamedConduit* COrbuIntWaitDialog::mpConduit = nullptr;

namespace {

int failed(OrbuIntStatus status, int line) {
    private_log_int_error(Orbu::VendorOrbuInt, status, "OrbuIntWaitDialog", line);
    return status;
}

} // namespace

COrbuIntWaitDialog::COrbuIntWaitDialog(bool connectNow) {
    ++mRefCount;
    if (mpConduit == nullptr && connectNow) {
        mpConduit = OrbuIntUtil::getQMXPipeConduit();
    }
}

COrbuIntWaitDialog::~COrbuIntWaitDialog() {
    if (--mRefCount == 0) {
        disconnect();
    }
}

void COrbuIntWaitDialog::disconnect() { private_end_connection(std::exchange(mpConduit, nullptr)); }

int COrbuIntWaitDialog::show() {
    if (mpConduit == nullptr) {
        mpConduit = OrbuIntUtil::getQMXPipeConduit();
    }
    if (mpConduit == nullptr) {
        return failed(OrbuIntNoConnection, __LINE__);
    }
    return send(true);
}

int COrbuIntWaitDialog::close() {
    if (mpConduit == nullptr) {
        return failed(OrbuIntNotConnected, __LINE__);
    }
    return send(false);
}

int COrbuIntWaitDialog::send(bool waiting) {
    QMXPipePacket request("orbu.PleaseWaitDialog", nullptr, QMXPipe::Asynchronous);
    request.setAttribute("locale", OrbuIntUtil::getAppLocale());
    // Words for the server, not booleans of ours: hence the capitals.
    request.setAttribute("waiting", TStr(waiting ? "True" : "False"));
    QMXPipePacket response(QMXPipe::SynchronicityDefault);
    if (OrbuIntUtil::sendQMXPacket(mpConduit, &request, &response, 0) != SendDone) {
        return failed(OrbuIntRequestFailed, __LINE__);
    }
    return OrbuIntDone;
}
