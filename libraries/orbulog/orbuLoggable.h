// OrbuLoggable: the root of everything that can be logged. A record writes itself: a logger opens its file
// and calls dumpTechSupport, which writes lines through OrbuLogger::getFile.
//
// - Records are values: made, logged and thrown away.
// - The names of host and system are found by the first record of the process and kept until the library's
//   statics go at exit; no record may be made after that.
// - Threads: the first record of a process belongs on one thread; after that each record on its own.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

class OrbuLogger;

class ORBU_EXPORT OrbuLoggable {
public:
    explicit OrbuLoggable(TStr const& reason);

    // Writes this record's lines to the logger's file, which is open and locked. A null logger: nothing.
    virtual void dumpTechSupport(OrbuLogger* logger) const = 0;

    virtual void setReason(TStr const& text);
    virtual TStr getReason() const;

    virtual ~OrbuLoggable();

    // The keyed line "Reason=..."; nothing for an empty reason or a null logger.
    virtual void dumpHeaderInfo(OrbuLogger* logger) const;
    // The keyed lines "ComputerName=..." and "OS=..."; nothing for a null logger.
    virtual void dumpSystemInfo(OrbuLogger* logger) const;
    // Empties the reason.
    virtual void clear();

    // Finds the names, unless both are there.
    static void setSystemInformation();

protected:
    // Empty before the first record, and where the system does not tell.
    static TStr msHostName;
    static TStr msPlatformOS;

private:
    TStr reason;
};
