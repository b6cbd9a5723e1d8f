// Messages to the log sink, composed only when there is one: a wait that logs in each round allocates nothing
// for it.
#pragma once

#include "orbuutil/tstr.h"
#include "qmx/qmxBase.h"

struct private_qmx_log_state {
    QMXLogSink sink;
    void* context;
};

extern constinit private_qmx_log_state private_qmx_log;

inline bool private_qmx_log_wanted() { return private_qmx_log.sink != nullptr; }

// The format with its placeholders filled, one TStr::arg for each argument in turn. As `arg` has it, a format
// that has fewer placeholders than arguments ends as a null text.
template <typename... Arguments>
TStr qmxLogText(char const* format, Arguments const&... arguments) {
    TStr text(format);
    ((text = text.arg(arguments)), ...);
    return text;
}

template <typename... Arguments>
void qmxLogDebug(char const* format, Arguments const&... arguments) {
    if (private_qmx_log_wanted()) {
        QMXBase::logDebug(qmxLogText(format, arguments...));
    }
}

template <typename... Arguments>
void qmxLogError(char const* format, Arguments const&... arguments) {
    if (private_qmx_log_wanted()) {
        QMXBase::logError(qmxLogText(format, arguments...));
    }
}
