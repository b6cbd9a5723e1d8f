// What tests of the message model share: plain texts and lists, and the log sink as a list of lines.
#pragma once

#include "orbuutil/c_list.h"
#include "qmx/qmxBase.h"
#include "support/texts.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

using support::Texts;

inline std::string textOf(TStr const& s) { return support::text(s); }

inline Texts textsOf(TList<TStr> const& list) { return support::texts(list); }

inline TList<TStr> listOf(Texts const& items) {
    TList<TStr> list;
    for (std::string const& item : items) {
        const TStr value(item.c_str());
        list_push(list.handle(), &value);
    }
    return list;
}

// Takes the errors that are reported while it lives (and with `debug` the rest too). A line that nobody took
// is a failure.
class Reports {
public:
    explicit Reports(bool debug = false) : mDebug(debug) { QMXBase::setLogSink(&Reports::add, this); }
    Reports(Reports const&) = delete;
    Reports& operator=(Reports const&) = delete;
    ~Reports() {
        QMXBase::setLogSink(nullptr, nullptr);
        EXPECT_EQ(mLines, Texts());
    }

    Texts take() { return std::exchange(mLines, Texts()); }

private:
    static void add(QMXLogLevel level, TStr const& message, void* context) {
        auto* self = static_cast<Reports*>(context);
        if (level == QMXLogError || self->mDebug) {
            self->mLines.push_back(textOf(message));
        }
    }

    bool mDebug;
    Texts mLines;
};
