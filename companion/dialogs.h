// The requests that open dialogs, and the dialogs that stand open.
//
//   orbu.ErrorDialog       answered when the dialog is closed
//   orbu.PleaseWaitDialog  "waiting" is "True" or "False"; waits nest, and end with their client
//   qmx.MessageBox         answered with "selected_button"
//   qmx.Presenter          answered with "presenter", what shows the dialogs, as soon as that is known
//
// A handler opens its dialog and returns, so that nobody waits for somebody else's dialog; the reply is sent
// when the answer is there. An asynchronous request is served and never answered.
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "presenter.h"
#include "qmx/qmxPipeFacility.h"
#include "qmx/qmxPipePacket.h"
#include "qmx/qmxPipeSession.h"

// Holds one retain on a reference-counted object.
template <class T>
struct Release {
    void operator()(T* object) const { object->release(); }
};
template <class T>
using Retained = std::unique_ptr<T, Release<T>>;

class DialogDesk;

// A facility whose handlers find their desk through it.
class DialogFacility : public QMXPipeFacility {
public:
    DialogFacility(char const* name, DialogDesk& desk) : name_(name), desk_(desk) {}
    TStr facility() override { return TStr(name_); }
    // What every facility answers by itself (index, method information) goes to those alone who wait for it.
    long dispatch(QMXPipeSession* session, QMXPipePacket* request) override;
    DialogDesk& desk() { return desk_; }

private:
    char const* name_;
    DialogDesk& desk_;
};

class DialogDesk {
public:
    // Registers the facilities "orbu" and "qmx" for as long as the desk stands.
    explicit DialogDesk(Presenter& presenter);
    DialogDesk(DialogDesk const&) = delete;
    DialogDesk& operator=(DialogDesk const&) = delete;
    ~DialogDesk();

    // Opens a dialog for a request; the result is a handler's.
    long open(Dialog const& dialog, QMXPipeSession* session, QMXPipePacket* request);
    // Begins or ends a wait of a session; the result is a handler's.
    long setWaiting(bool waiting, QMXPipeSession* session, QMXPipePacket* request);

    // Answers what shows the dialogs; the result is a handler's.
    long tellPresenter(QMXPipeSession* session, QMXPipePacket* request);

    // Takes away what belongs to clients that have gone, then sends the answers that are due.
    void dispatch();

private:
    struct Request {
        Request(QMXPipeSession* from, QMXPipePacket const& packet);
        bool isGone() const;

        Retained<QMXPipeSession> session;
        Retained<QMXPipePacket> packet;
    };
    struct Open {
        Dialog::Kind kind;
        Request request;
    };
    struct Waits {
        Retained<QMXPipeSession> session;
        long count = 0;
    };

    void answer(Request const& request, QMXPipePacket& response) const;
    void changeWaits(long by, bool atOnce);

    Presenter& presenter_;
    DialogFacility orbu_;
    DialogFacility qmx_;
    DialogId lastId_ = 0;
    std::map<DialogId, Open> open_;
    std::vector<Request> questions_; // after the presenter, while it is not known
    std::map<long, Waits> waits_;    // by session id
    long waitCount_ = 0;
    std::string locale_; // of the latest wait
};
