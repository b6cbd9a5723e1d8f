// OrbuPerfLog: one line of timing, for OrbuPerfLogger. The columns, joined by "," and with one more ","
// before the line feed ("NA" stands for what is empty):
//
//   1 to 3  date, time with milliseconds, process id       6   version of the library
//   4, 5    system, host name                              7   data1:data2
//   9       component in brackets                          8   data3:data4
//   10      the event; a pair whose names end in ".START" and ".END" spans the work between them
//
// Nothing is escaped: a comma in a field shifts the columns behind it.
#pragma once

#include "orbulog/orbuDebugLog.h"

struct ORBU_EXPORT OrbuPerfLogData {
    TStr data1;
    TStr data2;
    TStr data3;
    TStr data4;
    TStr event;

    // Puts "NA" into each empty field.
    void checkData();
};

class ORBU_EXPORT OrbuPerfLog : public OrbuDebugLog {
public:
    // Takes a copy of the data and checks it.
    OrbuPerfLog(Orbu::VendorID vendor, OrbuPerfLogData const& data);
    ~OrbuPerfLog() override;

    void dumpTechSupport(OrbuLogger* logger) const override;
    // Empties the reason and the data, which are not checked again, and sets the vendor to 0. The component
    // stays.
    void clear() override;

private:
    OrbuPerfLogData data;
};
