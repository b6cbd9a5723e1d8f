#include "orbulog/orbuLogger.h"

#include "orbulog/orbuLogPathPrivate.h"
#include "orbulog/orbuLoggable.h"
#include "orbuutil/orbuMutex.h"
#include "orbuutil/orbuUtil.h"

template class COrbuUtilSingleton<OrbuLogger>;

namespace {

constexpr int lockMicroseconds = 10000;

} // namespace

OrbuLogger::OrbuLogger() : OrbuLogger(true) {}

OrbuLogger::OrbuLogger(bool loadTable) : file(""), errorTable("") {
    if (loadTable) {
        loadErrorTable();
    }
}

OrbuLogger::OrbuLogger(TStr const& fileName) : file(fileName), errorTable("") {
    if (!fileName.isEmpty()) {
        loadErrorTable();
    }
}

OrbuLogger::OrbuLogger(char const* fileName) : OrbuLogger(TStr(fileName)) {}

OrbuLogger::~OrbuLogger() { delete mutex; }

void OrbuLogger::log(OrbuLoggable const& item) { log(const_cast<OrbuLoggable*>(&item)); }

void OrbuLogger::log(OrbuLoggable* item) {
    if (item == nullptr) {
        return;
    }
    if (mutex == nullptr) {
        mutex = new OrbuMutex;
    }
    TStr const name = private_log_mutex_name(file.getFilename());
    bool const opened = !name.isEmpty() && mutex->Open(name);
    if (opened) {
        mutex->Lock(lockMicroseconds); // when the time is over the entry is written all the same
    }
    if (file.open(false)) {
        item->dumpTechSupport(this);
        file.close();
    }
    if (opened && mutex != nullptr) { // null: the record has logged through this logger itself
        mutex->UnLock();
    }
    delete mutex;
    mutex = nullptr;
}

OrbuLogger* OrbuLogger::instance() {
    if (!mInstance) {
        mInstance = std::make_unique<OrbuLogger>();
    }
    return mInstance.get();
}

void OrbuLogger::close() { mInstance.reset(); }

OrbuLogger* OrbuLogger::instance_m() { return COrbuUtilSingleton<OrbuLogger>::instance(); }

bool OrbuLogger::loadErrorTable() {
    TStr const folder = OrbuUtil::getOrbuFileLocation(OrbuUtil::ErrorTable, "");
    if (folder.isEmpty()) {
        return false;
    }
    errorTable.SetPathName(private_log_path(folder, "OrbuErrorCodes.xml"));
    return errorTable.Load();
}

void OrbuLogger::setLogFileName(TStr const& fileName) {
    if (!fileName.isEmpty()) {
        file.setFilename(fileName);
    }
}

TStr OrbuLogger::getLogFileName() const { return file.getFilename(); }

TStr OrbuLogger::getHeader() const { return file.getCurrentSection(OrbuDelimitedFile::kSpace); }

void OrbuLogger::startLogging() { file.updateCurrentSection(false); }

void OrbuLogger::startLoggingWMilliSecs() { file.updateCurrentSection(true); }
