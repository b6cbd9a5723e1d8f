#include "orbuint/orbuintHost.h"

#include "orbuint/OrbuIntWaitDialog.h"
#include "orbuint/orbuintErrorPrivate.h"
#include "orbuint/orbuintResHandler.h"
#include "orbuint/orbuintSingletonOrder.h"
#include "orbulog/orbuLogger.h"
#include "orbuutil/orbuUtil.h"

constinit COrbuIntHost* COrbuIntHost::sInstance = nullptr;

int COrbuIntHost::initialize(TStr const& locale, AppMsgCallback errorTexts, TStr const& logFile) {
    if (COrbuUtilObjectManager::instance()->shutting_down_i()) {
        return OrbuIntRefused; // what is made now would never be destroyed
    }
    COrbuIntSingletonOrder const order;
    OrbuLogger::instance_m()->setLogFileName(logFile);
    if (sInstance == nullptr) {
        sInstance = new COrbuIntHost;
        COrbuUtilObjectManager::at_exit(sInstance, nullptr);
    }
    sInstance->mLocale = locale.isEmpty() ? TStr("") : locale;
    sInstance->mAppMsgCB = errorTexts;

    TStr const folder =
        OrbuUtil::getOrbuFileLocation(OrbuUtil::CommonLocalizedData, OrbuUtil::getOrbuLocaleDir(locale));
    if (!COrbuIntResHandler::instance()->loadResourceFile(folder)) {
        private_log_int_error(Orbu::VendorOrbuInt, OrbuIntNoResources, "orbuintHost", __LINE__);
        return OrbuIntNoResources;
    }
    return OrbuIntDone;
}

void COrbuIntHost::shutdown() { COrbuUtilObjectManagerManager::cleanup(); }

COrbuIntHost* COrbuIntHost::instance() { return sInstance; }

COrbuIntHost::~COrbuIntHost() {
    sInstance = nullptr;
    COrbuIntWaitDialog::disconnect();
}

int COrbuIntHost::setAppProcessEventsCallback(ProcessEventsCallback callback, void* context) {
    mProcessEventsCallback = callback;
    mProcessEventsContext = context;
    return OrbuIntDone;
}

int COrbuIntHost::setOrBUDialogDisplayCallback(DialogDisplayCallback callback, long context) {
    mDialogDisplayCallback = callback;
    mDialogDisplayContext = context;
    return OrbuIntDone;
}
