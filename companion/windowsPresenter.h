// Shows dialogs in windows, in a thread that loads the toolkit while the server goes on (see windowBridge.h).
// Where there is no display, or no module, the dialogs that were asked for meanwhile go to another presenter.
#pragma once

#include <memory>
#include <thread>

#include "presenter.h"

class WindowLink;
struct WindowCommand;

class WindowsPresenter : public Presenter {
public:
    // Shows everything if there can be no windows; null: then it has failed.
    explicit WindowsPresenter(std::unique_ptr<Presenter> otherwise);
    WindowsPresenter(WindowsPresenter const&) = delete;
    WindowsPresenter& operator=(WindowsPresenter const&) = delete;
    ~WindowsPresenter() override;

    // Signals that no thread but the caller's is to get are blocked by now.
    void start() override;
    bool stop() override;
    std::string kind() const override;
    bool hasFailed() const override;
    void open(DialogId id, Dialog const& dialog) override;
    void close(DialogId id) override;
    void setWaiting(long count, std::string const& locale, bool atOnce) override;
    void prepare(std::vector<pollfd>& descriptors, Milliseconds& timeout) override;
    std::vector<Answer> dispatch() override;

private:
    // To the windows, or to the other one.
    void pass(WindowCommand command);

    // The window thread has it too, which may outlive the presenter.
    std::shared_ptr<WindowLink> link_;
    std::unique_ptr<Presenter> otherwise_;
    std::thread thread_;
    bool givenUp_ = false; // there are no windows, and the other one shows the dialogs
};
