#include "presenter.h"

#include "attributes.h"
#include "conversation.h"
#include "exitCodes.h"
#include "qmx/qmxPipePacket.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace {

std::string_view variable(char const* name) {
    char const* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

} // namespace

Shown ask_presenter(Conversation& conversation) {
    QMXPipePacket index("qmx.index", nullptr, QMXPipe::Synchronous);
    QMXPipePacket codes(QMXPipe::SynchronicityDefault);
    QMXPipePacket question("qmx.Presenter", nullptr, QMXPipe::Synchronous);
    QMXPipePacket answer(QMXPipe::SynchronicityDefault);
    try {
        // What is not known is never answered, so it is looked for first.
        conversation.ask(index, codes);
        auto const known = items_of(codes.attributeAsStringList("MLST"));
        if (std::find(known.begin(), known.end(), "Presenter") == known.end()) {
            return Shown::Untold;
        }
        conversation.ask(question, answer);
    } catch (Failure const& failure) {
        if (failure.code() != ExitFailed) {
            throw;
        }
        return Shown::Gone;
    }
    std::string const presenter = bytes_of(answer.attributeAsString("presenter"));
    return presenter == "windows" ? Shown::Windows : presenter == "rules" ? Shown::Rules : Shown::Nobody;
}

bool has_display() { return !variable("WAYLAND_DISPLAY").empty() || !variable("DISPLAY").empty(); }

bool is_told_to_be_headless() { return variable("ORBU_QMX_PRESENTER") == "headless"; }
