#include "windowsPresenter.h"

#include <condition_variable>
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <iterator>
#include <mutex>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "orbuutil/tstr.h"
#include "qmx/qmxBase.h"
#include "resourceFolders.h"
#include "windowBridge.h"

namespace {

constexpr Milliseconds kFarewell(2000); // a display that hangs is not waited for any longer

// A descriptor that one thread rings and the other one waits for.
class Bell {
public:
    Bell() : descriptor_(::eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {}
    Bell(Bell const&) = delete;
    Bell& operator=(Bell const&) = delete;
    ~Bell() { ::close(descriptor_); }

    int descriptor() const { return descriptor_; }
    void ring() const { ::eventfd_write(descriptor_, 1); }
    void silence() const {
        eventfd_t count = 0;
        ::eventfd_read(descriptor_, &count);
    }

private:
    int descriptor_;
};

std::string modulePath() {
    std::error_code error;
    auto const program = std::filesystem::read_symlink("/proc/self/exe", error);
    auto const contents = program.parent_path().parent_path();
    // Never one in the current folder.
    return contents.empty() ? std::string() : (contents / "PlugIns/windows.so").string();
}

// What the toolkit reads in the environment, settled before there is a thread: nobody writes there any more
// once there is. Half of the time to the first window would go into what a dialog has no use for.
void prepareEnvironment() {
    // Dialogs are drawn by the processor: bringing up OpenGL takes longer than drawing them all.
    if (::getenv("GSK_RENDERER") == nullptr && ::setenv("GSK_RENDERER", "cairo", 0) == 0) {
        ::setenv("GDK_DEBUG", "gl-disable", 0);
    }
    ::setenv("GIO_USE_VFS", "local", 1);                 // no file but those of the system's themes is read
    ::setenv("GTK_IM_MODULE", "gtk-im-context-none", 1); // and no text is entered
    ::unsetenv("DESKTOP_STARTUP_ID");                    // the toolkit would take these away later
    ::unsetenv("XDG_ACTIVATION_TOKEN");
}

} // namespace

enum class WindowState { Loading, Showing, NoDisplay, Lost, Ended };

// What both threads use. A member is called on the thread that its block names; take() on the server's as
// well, once there is no other.
class WindowLink final : public WindowBridge {
public:
    // The server's thread.
    explicit WindowLink(std::vector<std::string> folders) : folders_(std::move(folders)) {}
    void post(WindowCommand command);
    int answersDescriptor() const { return forServer_.descriptor(); }
    WindowState state();
    std::string reason();
    std::vector<Answer> takeAnswers();
    // Waits until the window thread is at its end; false when it is not there in time.
    bool awaitEnd(Milliseconds limit);

    // The window thread.
    std::vector<std::string> const& folders() const override { return folders_; }
    int descriptor() const override { return forWindows_.descriptor(); }
    std::vector<WindowCommand> take() override;
    void showing() override { enter(WindowState::Showing); }
    void answered(DialogId id, long button) override;
    pid_t process() const { return process_; }
    void enter(WindowState state, std::string const& reason = std::string());

private:
    std::vector<std::string> const folders_;
    pid_t const process_ = ::getpid();
    std::mutex mutex_;
    std::condition_variable changed_;
    WindowState state_ = WindowState::Loading;
    std::string reason_; // why there is no display
    std::vector<WindowCommand> commands_;
    std::vector<Answer> answers_;
    Bell forServer_;
    Bell forWindows_;
};

void WindowLink::post(WindowCommand command) {
    {
        std::lock_guard<std::mutex> const guard(mutex_);
        // What is over before its turn has come, as while the toolkit loads, does not flash up.
        std::erase_if(commands_, [&command](WindowCommand const& queued) {
            return command.kind == WindowCommand::Kind::Quit ||
                   (command.kind == WindowCommand::Kind::Close && queued.kind == WindowCommand::Kind::Open &&
                    queued.id == command.id);
        });
        commands_.push_back(std::move(command));
    }
    forWindows_.ring();
}

WindowState WindowLink::state() {
    std::lock_guard<std::mutex> const guard(mutex_);
    return state_;
}

std::string WindowLink::reason() {
    std::lock_guard<std::mutex> const guard(mutex_);
    return reason_;
}

std::vector<Answer> WindowLink::takeAnswers() {
    forServer_.silence();
    std::lock_guard<std::mutex> const guard(mutex_);
    return std::exchange(answers_, {});
}

bool WindowLink::awaitEnd(Milliseconds limit) {
    std::unique_lock<std::mutex> lock(mutex_);
    return changed_.wait_for(
        lock, limit, [this] { return state_ == WindowState::NoDisplay || state_ == WindowState::Ended; });
}

std::vector<WindowCommand> WindowLink::take() {
    forWindows_.silence();
    std::lock_guard<std::mutex> const guard(mutex_);
    return std::exchange(commands_, {});
}

void WindowLink::answered(DialogId id, long button) {
    {
        std::lock_guard<std::mutex> const guard(mutex_);
        answers_.push_back({id, button});
    }
    forServer_.ring();
}

void WindowLink::enter(WindowState state, std::string const& reason) {
    {
        std::lock_guard<std::mutex> const guard(mutex_);
        state_ = state;
        reason_ = reason;
        changed_.notify_all();
    }
    forServer_.ring();
}

namespace {

// Set in the window thread alone.
thread_local WindowLink* windowThread = nullptr;

void showWindows(std::shared_ptr<WindowLink> const& link, std::string const& module) {
    windowThread = link.get();
    // Kept until the process ends: the toolkit cannot be unloaded.
    void* const library = ::dlopen(module.c_str(), RTLD_LAZY | RTLD_LOCAL | RTLD_NODELETE);
    auto const run =
        library != nullptr ? reinterpret_cast<WindowsRun>(::dlsym(library, QMX_WINDOWS_RUN)) : nullptr;
    if (run == nullptr) {
        char const* const reason = ::dlerror();
        link->enter(WindowState::NoDisplay, reason != nullptr ? reason : "");
    } else if (run(*link) == 0) {
        link->enter(WindowState::NoDisplay, "the display cannot be opened");
    } else {
        link->enter(WindowState::Ended);
    }
}

} // namespace

// A toolkit that loses its display, or finds that it is broken, leaves by _exit(2), which would leave the
// server's files and its clients alone. On the window thread this is what it finds instead (the name is
// exported to the libraries that the program loads): the server's thread is told, and ends the process when
// all is done. A child of that thread, forked to run a program that is not there, just goes.
extern "C" __attribute__((visibility("default"), noreturn)) void _exit(int code) {
    if (windowThread != nullptr && ::getpid() == windowThread->process()) {
        windowThread->enter(WindowState::Lost);
        for (;;) {
            ::pause();
        }
    }
    for (;;) {
        ::syscall(SYS_exit_group, code);
    }
}

WindowsPresenter::WindowsPresenter(std::unique_ptr<Presenter> otherwise)
    : link_(std::make_shared<WindowLink>(resourceFolders())), otherwise_(std::move(otherwise)) {}

WindowsPresenter::~WindowsPresenter() {
    if (thread_.joinable()) {
        thread_.detach();
    }
}

void WindowsPresenter::start() {
    prepareEnvironment();
    try {
        thread_ = std::thread(showWindows, link_, modulePath());
    } catch (std::system_error const& error) {
        link_->enter(WindowState::NoDisplay, error.what());
    }
}

bool WindowsPresenter::stop() {
    if (!thread_.joinable()) {
        return true;
    }
    link_->post({});
    // A toolkit that is still being brought up is not waited for, and one that lost its display never ends.
    WindowState const state = link_->state();
    bool const ends = state != WindowState::Loading && state != WindowState::Lost;
    if (!ends || !link_->awaitEnd(kFarewell)) {
        return false;
    }
    thread_.join();
    return true;
}

std::string WindowsPresenter::kind() const {
    if (givenUp_) {
        // Without another presenter the server ends over it, and its clients see that.
        return otherwise_ ? otherwise_->kind() : "";
    }
    return link_->state() == WindowState::Showing ? "windows" : "";
}

bool WindowsPresenter::hasFailed() const {
    return link_->state() == WindowState::Lost || (givenUp_ && !otherwise_);
}

void WindowsPresenter::open(DialogId id, Dialog const& dialog) {
    WindowCommand command;
    command.kind = WindowCommand::Kind::Open;
    command.id = id;
    command.dialog = dialog;
    pass(std::move(command));
}

void WindowsPresenter::close(DialogId id) {
    WindowCommand command;
    command.kind = WindowCommand::Kind::Close;
    command.id = id;
    pass(std::move(command));
}

void WindowsPresenter::setWaiting(long count, std::string const& locale, bool atOnce) {
    WindowCommand command;
    command.kind = WindowCommand::Kind::Wait;
    command.waits = count;
    command.atOnce = atOnce;
    command.locale = locale;
    pass(std::move(command));
}

void WindowsPresenter::pass(WindowCommand command) {
    if (!givenUp_) {
        link_->post(std::move(command));
        return;
    }
    if (!otherwise_) {
        return;
    }
    switch (command.kind) {
    case WindowCommand::Kind::Open:
        otherwise_->open(command.id, command.dialog);
        break;
    case WindowCommand::Kind::Close:
        otherwise_->close(command.id);
        break;
    case WindowCommand::Kind::Wait:
        otherwise_->setWaiting(command.waits, command.locale, command.atOnce);
        break;
    case WindowCommand::Kind::Quit:
        break;
    }
}

void WindowsPresenter::prepare(std::vector<pollfd>& descriptors, Milliseconds& timeout) {
    if (!givenUp_) {
        descriptors.push_back({link_->answersDescriptor(), POLLIN, 0});
    } else if (otherwise_) {
        otherwise_->prepare(descriptors, timeout);
    }
}

std::vector<Answer> WindowsPresenter::dispatch() {
    // The bell is silenced before the state is read: what rings later is heard in the next round.
    std::vector<Answer> answers = givenUp_ ? std::vector<Answer>() : link_->takeAnswers();
    if (!givenUp_ && link_->state() == WindowState::NoDisplay) {
        QMXBase::logDebug(TStr("no windows: %1").arg(TStr(link_->reason().c_str())));
        givenUp_ = true;
        for (WindowCommand& command : link_->take()) {
            pass(std::move(command));
        }
    }
    return givenUp_ && otherwise_ ? otherwise_->dispatch() : answers;
}
