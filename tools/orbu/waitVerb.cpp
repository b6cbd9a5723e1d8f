// orbu wait: the command runs under orbu itself; a process of its own sees to the window, so that no trouble
// with the server ever holds up or ends the command.
#include "attributes.h"
#include "command.h"
#include "dialogVerbs.h"
#include "exitCodes.h"
#include "interruption.h"
#include "qmx/qmxPipePacket.h"
#include "runtime.h"
#include "terminal.h"

#include <csignal>
#include <ctime>
#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// A command that is done by then starts no companion.
constexpr long kFirstNanoseconds = 100'000'000;

void send_waiting(Conversation& conversation, std::string const& locale, char const* waiting) {
    QMXPipePacket request("orbu.PleaseWaitDialog", nullptr, QMXPipe::Asynchronous);
    QMXPipePacket none(QMXPipe::SynchronicityDefault);
    set_attributes(request, {"locale=" + locale, std::string("waiting=") + waiting});
    conversation.ask(request, none);
}

// Until SIGTERM, which comes from orbu, or from the system when orbu is gone.
void show_wait(Options const& options, std::string const& locale) {
    struct timespec const first = {0, kFirstNanoseconds};
    ::nanosleep(&first, nullptr);
    try {
        Observer observer;
        observer.trace = options.trace;
        Conversation conversation(options.place, kConnectLimit, observer);
        send_waiting(conversation, locale, "True");
        if (conversation.stand_by()) {
            send_waiting(conversation, locale, "False");
            conversation.end();
        }
    } catch (Failure const& failure) {
        if (failure.code() < ExitSignal) {
            tell(std::string("the wait dialog is not shown: ") + failure.what());
        }
    }
}

class WaitDialog {
public:
    WaitDialog(Options const& options, std::string const& locale) {
        pid_t const parent = ::getpid();
        // What ends it waits until it is heard, also where it is ignored from outside.
        interruption::Hold const hold;
        process_ = ::fork();
        if (process_ != 0) {
            return;
        }
        // Out of the reach of the terminal's keys, which are for the command.
        ::setpgid(0, 0);
        ::signal(SIGTTOU, SIG_IGN); // a word on standard error is no reason to be stopped
        ::signal(SIGTERM, SIG_DFL);
        sigset_t mask = hold.before();
        sigdelset(&mask, SIGTERM);
        pthread_sigmask(SIG_SETMASK, &mask, nullptr);
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        int const null = ::open("/dev/null", O_RDWR);
        if (::getppid() == parent && null >= 0) {
            // Whoever reads what the command writes waits for its end, not for ours.
            ::dup2(null, STDIN_FILENO);
            ::dup2(null, STDOUT_FILENO);
            ::close(null);
            show_wait(options, locale);
        }
        ::_exit(ExitDone);
    }
    ~WaitDialog() {
        if (process_ > 0) {
            ::kill(process_, SIGTERM);
            ::waitpid(process_, nullptr, 0);
        }
    }
    WaitDialog(WaitDialog const&) = delete;
    WaitDialog& operator=(WaitDialog const&) = delete;

private:
    pid_t process_;
};

} // namespace

int wait_for_command(Options const& options, std::string const& locale,
                     std::vector<std::string> const& command) {
    WaitDialog const dialog(options, locale);
    return run_command(command, restore_environment);
}
