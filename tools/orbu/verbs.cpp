#include "verbs.h"

#include "attributes.h"
#include "exitCodes.h"
#include "orbuutil/c_list.h"
#include "qmx/qmxPipePacket.h"
#include "record.h"
#include "terminal.h"

#include <algorithm>

namespace {

// The exit code for an answer: whether it says no, or holds what cannot be read.
int judge(QMXPipePacket const& request, QMXPipePacket const& response, Observer const& observer) {
    if (!observer.bad_value.empty()) {
        tell("a value of the answer cannot be read: " + one_line(observer.bad_value));
        return ExitBadData;
    }
    bool const failed = response.attributeAsString("RCOD") == "fail" && request.code() != "fail";
    return response.attributeAsLong("RSCD") != 0 || failed ? ExitNegative : ExitDone;
}

// Asks for a list of names, which the answer must hold.
std::vector<std::string> ask_names(Conversation& conversation, std::string const& name,
                                   char const* attribute) {
    QMXPipePacket request(TStr(name.c_str()), nullptr, QMXPipe::Synchronous);
    QMXPipePacket response(QMXPipe::SynchronicityDefault);
    conversation.ask(request, response);
    if (!response.hasStringListAttribute(attribute)) {
        throw Failure(ExitBadData, "the answer to " + name + " has no list " + attribute);
    }
    return items_of(response.attributeAsStringList(attribute));
}

int print_names(Options const& options, std::string const& name, char const* attribute) {
    Observer observer;
    observer.trace = options.trace;
    Conversation conversation(options.place, options.timeout, observer);
    auto const names = ask_names(conversation, name, attribute);
    conversation.end();
    put(names_text(names, options.json));
    return ExitDone;
}

} // namespace

int call(Options const& options, std::string const& name, std::vector<std::string> const& attributes) {
    QMXPipePacket request(QMXPipe::Synchronous);
    QMXPipePacket response(QMXPipe::SynchronicityDefault);
    set_name(request, name);
    set_attributes(request, attributes);

    Observer observer;
    observer.trace = options.trace;
    Conversation conversation(options.place, options.timeout, observer);
    conversation.ask(request, response);
    int const result = judge(request, response, observer);
    conversation.end();
    put(attributes_text(response, options.json));
    return result;
}

int list_facilities(Options const& options) { return print_names(options, "system.listFacilities", "FLST"); }

int list_locales(Options const& options) { return print_names(options, "system.listLocales", "LCLT"); }

int introspect(Options const& options, std::string const& facility) {
    QMXPipePacket checked;
    set_name(checked, facility + ".index");
    Observer observer;
    observer.trace = options.trace;
    Conversation conversation(options.place, options.timeout, observer);
    auto const facilities = ask_names(conversation, "system.listFacilities", "FLST");
    auto const codes = ask_names(conversation, facility + ".index", "MLST");
    bool there =
        facility == "system" || std::find(facilities.begin(), facilities.end(), facility) != facilities.end();
    if (!there) {
        // One that does not exist is answered for by the system facility; a hidden one answers for itself.
        there = codes != ask_names(conversation, "system.index", "MLST");
    }
    conversation.end();
    if (!there) {
        tell("there is no facility \"" + one_line(facility) + "\"");
        return ExitNegative;
    }
    put(names_text(codes, options.json));
    return ExitDone;
}

int replay(Options const& options, std::string const& file) {
    Observer observer;
    auto requests = read_record(file, observer);
    observer.trace = options.trace;

    Conversation conversation(options.place, options.timeout, observer);
    int result = ExitDone;
    std::string output;
    for (auto& request : requests) {
        QMXPipePacket response(QMXPipe::SynchronicityDefault);
        conversation.ask(*request, response);
        if (request->synchronicity() == QMXPipe::Asynchronous) {
            continue;
        }
        result = std::max(result, judge(*request, response, observer));
        output += (output.empty() || options.json ? "" : "\n") + attributes_text(response, options.json);
    }
    conversation.end();
    put(output);
    return result;
}
