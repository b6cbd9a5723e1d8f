// OrbuLogger: writes records (orbuLoggable.h) to a log file that the host names. The base of the debug and
// the performance logger.
//
// An entry: make a logger, stamp it, make the record, log(record), throw both away.
//
// - For each entry the file is opened, and closed again; processes take turns by a semaphore named with the
//   file's base name and ".Mutex", which has no user in it. Waiting ends after 10,000 microseconds, and the
//   entry is written all the same.
// - A file grows for as long as logging is on: nothing rotates or trims it, and it has no header line.
// - Nothing is ever reported to the caller: without a name, a stamp, a file that opens, or room on the disk
//   the entry is lost, and no more than that.
// - instance() and instance_m() are two loggers with lifetimes of their own.
// - Threads: a logger belongs to one thread at a time; nothing is locked inside the process.
#pragma once

#include "orbulog/orbuDelimitedFile.h"
#include "orbulog/orbuErrorTable.h"
#include "orbuutil/orbuExport.h"
#include "orbuutil/orbuSingleton.h"
#include "orbuutil/tstr.h"

#include <memory>

class OrbuLoggable;
class OrbuMutex;

class ORBU_EXPORT OrbuLogger {
public:
    // No file name yet. The error table is loaded, or only when `loadTable`.
    OrbuLogger();
    explicit OrbuLogger(bool loadTable);
    // That file. The error table is loaded when the name is not empty.
    explicit OrbuLogger(TStr const& fileName);
    explicit OrbuLogger(char const* fileName); // a literal is a name, not a truth value
    OrbuLogger(OrbuLogger const&) = delete;
    OrbuLogger& operator=(OrbuLogger const&) = delete;

    virtual ~OrbuLogger();

    // Forwards to the other form.
    virtual void log(OrbuLoggable const& item);
    // Writes one entry; nothing for null.
    virtual void log(OrbuLoggable* item);

    // The logger kept by this class; made on first use. It goes at exit, before the hooks of the object
    // manager run, or by close(): the next instance() is a new one.
    static OrbuLogger* instance();
    static void close();
    // The logger kept by COrbuUtilSingleton: the host's general log. It goes by a hook.
    static OrbuLogger* instance_m();

    // Loads OrbuErrorCodes.xml of the error table's folder. False when there is no such folder, or the file
    // does not load.
    bool loadErrorTable();

    // An empty name is ignored. Another name closes the old file.
    void setLogFileName(TStr const& fileName);
    TStr getLogFileName() const;

    // The current section, with a blank as its delimiter; empty before the first stamp.
    TStr getHeader() const;

    // Stamp what is written from now on: the time to the second, or to the millisecond.
    void startLogging();
    void startLoggingWMilliSecs();

    // What a record writes to, and where it finds words for its numbers.
    OrbuDelimitedFile& getFile() { return file; }
    OrbuErrorTable const& getErrorTable() const { return errorTable; }

private:
    OrbuDelimitedFile file;
    OrbuErrorTable errorTable;
    OrbuMutex* mutex = nullptr; // null between entries

    static std::unique_ptr<OrbuLogger> mInstance;
};

extern template class COrbuUtilSingleton<OrbuLogger>;
