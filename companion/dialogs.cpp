#include "dialogs.h"

#include "qmx/qmxPipeConduit.h"

namespace {

constexpr long kMostButtons = 16;

std::string textOf(QMXPipePacket* request, char const* name) {
    TStr text = request->attributeAsString(TStr(name));
    return text.isEmpty() ? std::string() : std::string(text.toUtf8());
}

DialogDesk& deskOf(QMXPipePacket* request) {
    return static_cast<DialogFacility*>(QMXPipeConduit::findFacility(request->facility()))->desk();
}

Dialog dialogOf(Dialog::Kind kind, QMXPipePacket* request) {
    Dialog dialog;
    dialog.kind = kind;
    dialog.locale = textOf(request, "locale");
    dialog.caption = textOf(request, "caption");
    dialog.title = textOf(request, "title");
    dialog.icon = request->attributeAsLong(TStr("icon"));
    return dialog;
}

long errorDialog(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket*) {
    Dialog dialog = dialogOf(Dialog::Kind::Error, request);
    if (textOf(request, "enable_description") == "True") {
        dialog.detail = textOf(request, "detail");
    }
    return deskOf(request).open(dialog, session, request);
}

long messageBox(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket*) {
    Dialog dialog = dialogOf(Dialog::Kind::MessageBox, request);
    dialog.focus = request->attributeAsLong(TStr("focus_button_index"));
    for (long i = 0; i < kMostButtons; ++i) {
        std::string const name = "button_" + std::to_string(i);
        if (!request->hasAttribute(TStr(name.c_str()))) {
            break;
        }
        dialog.buttons.push_back(textOf(request, name.c_str()));
    }
    return deskOf(request).open(dialog, session, request);
}

long pleaseWaitDialog(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket*) {
    return deskOf(request).setWaiting(textOf(request, "waiting") == "True", session, request);
}

long presenterKind(QMXPipeSession* session, QMXPipePacket* request, QMXPipePacket*) {
    return deskOf(request).tellPresenter(session, request);
}

bool isGone(QMXPipeSession const& session) { return session.conduit() == nullptr; }

bool wantsNoAnswer(QMXPipePacket const& request) { return request.synchronicity() == QMXPipe::Asynchronous; }

} // namespace

long DialogFacility::dispatch(QMXPipeSession* session, QMXPipePacket* request) {
    TStr const code = request->code();
    bool const question = code.isEmpty() || code == "index" || code == "methodInformation";
    if (question && wantsNoAnswer(*request)) {
        return HandlerHandled;
    }
    return QMXPipeFacility::dispatch(session, request);
}

DialogDesk::Request::Request(QMXPipeSession* from, QMXPipePacket const& asked)
    : session(from), packet(new QMXPipePacket(asked)) {
    from->retain();
}

bool DialogDesk::Request::isGone() const { return ::isGone(*session); }

DialogDesk::DialogDesk(Presenter& presenter)
    : presenter_(presenter), orbu_("orbu", *this), qmx_("qmx", *this) {
    orbu_.registerFunction(TStr("ErrorDialog"), errorDialog);
    orbu_.registerFunction(TStr("PleaseWaitDialog"), pleaseWaitDialog);
    qmx_.registerFunction(TStr("MessageBox"), messageBox);
    qmx_.registerFunction(TStr("Presenter"), presenterKind);
    QMXPipeConduit::registerFacility(&orbu_);
    QMXPipeConduit::registerFacility(&qmx_);
}

DialogDesk::~DialogDesk() {
    QMXPipeConduit::unregisterFacility(qmx_.facility());
    QMXPipeConduit::unregisterFacility(orbu_.facility());
    for (auto const& [id, dialog] : open_) {
        presenter_.close(id);
    }
    changeWaits(-waitCount_, true);
}

long DialogDesk::open(Dialog const& dialog, QMXPipeSession* session, QMXPipePacket* request) {
    DialogId const id = ++lastId_;
    open_.emplace(id, Open{dialog.kind, Request(session, *request)});
    presenter_.open(id, dialog);
    return HandlerHandled;
}

long DialogDesk::tellPresenter(QMXPipeSession* session, QMXPipePacket* request) {
    questions_.emplace_back(session, *request);
    return HandlerHandled;
}

long DialogDesk::setWaiting(bool waiting, QMXPipeSession* session, QMXPipePacket* request) {
    Waits& waits = waits_[session->id()];
    if (!waits.session) {
        session->retain();
        waits.session.reset(session);
    }
    if (waiting) {
        locale_ = textOf(request, "locale");
        ++waits.count;
        changeWaits(1, false);
    } else if (waits.count > 0) {
        --waits.count;
        changeWaits(-1, false);
    }
    return wantsNoAnswer(*request) ? HandlerHandled : HandlerDone;
}

void DialogDesk::changeWaits(long by, bool atOnce) {
    if (by != 0) {
        waitCount_ += by;
        presenter_.setWaiting(waitCount_, locale_, atOnce);
    }
}

void DialogDesk::answer(Request const& request, QMXPipePacket& response) const {
    if (!wantsNoAnswer(*request.packet) && !request.isGone()) {
        response.setAttribute(TStr("RSCD"), 0L);
        QMXPipeFacility::sendResponse(request.session.get(), request.packet.get(), &response);
    }
}

void DialogDesk::dispatch() {
    for (auto entry = open_.begin(); entry != open_.end();) {
        if (entry->second.request.isGone()) {
            presenter_.close(entry->first);
            entry = open_.erase(entry);
        } else {
            ++entry;
        }
    }
    for (auto entry = waits_.begin(); entry != waits_.end();) {
        if (isGone(*entry->second.session)) {
            long const count = entry->second.count;
            entry = waits_.erase(entry);
            changeWaits(-count, true);
        } else {
            ++entry;
        }
    }
    for (Answer const& given : presenter_.dispatch()) {
        auto const entry = open_.find(given.id);
        if (entry != open_.end()) {
            QMXPipePacket response(QMXPipe::SynchronicityDefault);
            if (entry->second.kind == Dialog::Kind::MessageBox) {
                response.setAttribute(TStr("selected_button"), given.button);
            }
            answer(entry->second.request, response);
            open_.erase(entry);
        }
    }
    std::string const kind = presenter_.kind();
    if (!kind.empty()) {
        for (Request const& question : questions_) {
            QMXPipePacket response(QMXPipe::SynchronicityDefault);
            response.setAttribute(TStr("presenter"), TStr(kind.c_str()));
            answer(question, response);
        }
        questions_.clear();
    }
}
