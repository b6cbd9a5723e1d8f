// The host's dialogs: what they put on the wire and make of the answers, by a server played by hand; and what
// becomes of them, and of the host, when things go wrong.
#include "orbuint/OrbuIntWaitDialog.h"
#include "orbuint/orbuintHost.h"
#include "orbuint/orbuintutil.h"
#include "orbulog/orbuLogger.h"
#include "orbuutil/c_memory.h"
#include "orbuutil/orbuUtil.h"
#include "orbuutil/orbuUtilCustomEnv.h"
#include "support/customEnv.h"
#include "support/processes.h"
#include "support/texts.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <optional>
#include <regex>
#include <semaphore.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using support::customEnv, support::key, support::platform, support::text, support::Texts;

// What the host's callbacks do and saw; a test has one host.
struct {
    std::function<void()> pump;
    Texts seen;
} host;

void pumpEvents(void* context) {
    if (host.pump) {
        // Once: a callback of its own may wait again.
        std::exchange(host.pump, nullptr)();
    }
    EXPECT_EQ(context, &host);
}

void onDialog(unsigned int* event, long context) {
    host.seen.push_back(std::to_string(*event) + " " + std::to_string(context));
    OrbuIntUtil::orbuIntDealloc(event);
}

void onErrorText(orbuSTRING* record) {
    host.seen.push_back(text(OrbuUtil::orbuSTRINGToTStr(record)) + " " + std::to_string(record->length));
    memory_free(record->data);
    OrbuIntUtil::orbuIntDealloc(record);
}

// Whether the signal is blocked, and pending.
std::pair<bool, bool> pipeState() {
    sigset_t mask;
    sigset_t pending;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    sigpending(&pending);
    return {sigismember(&mask, SIGPIPE) == 1, sigismember(&pending, SIGPIPE) == 1};
}

class Dialogs : public ProcessTest {
protected:
    void SetUp() override {
        ProcessTest::SetUp();
        sigset_t const signals = pipeSignal();
        pthread_sigmask(SIG_UNBLOCK, &signals, nullptr); // one that reaches the host would kill the test
        setVariable("ORBU_QMX_IDLE", "50ms");
        std::string const bin = serverPath().substr(0, serverPath().find("/QMX.app"));
        useLocations(key("ORBU_COMMON_BIN_LOCATION", bin) + key("ORBU_MAC_FRAMEWORK_LOCATION", mPlace));
        make("Orbu.framework/Versions/31a/Resources/de_DE/OrbuIntRes.xml",
             "<ORBUSTRINGTABLE><STRING ID='yes'><CAPTION>Ja</CAPTION></STRING>"
             "<STRING ID='no'><CAPTION>Nein; nicht</CAPTION></STRING></ORBUSTRINGTABLE>");
        COrbuUtilObjectManagerManager::cleanup();
        OrbuLogger::instance_m()->setLogFileName(logFile().c_str());
        QMXPipeConduit::sLastSessionId = 10;
        host = {};
    }
    void TearDown() override {
        COrbuIntHost::shutdown();
        ProcessTest::TearDown();
        std::filesystem::remove_all(hostPrefix());
        ::sem_unlink(hostLock().c_str());
        gCustomEnvMgr.loadConfigFile();
    }

    void useLocations(std::string const& keys) {
        setVariable("VEXMOOR_ORBU_CUSTOM_ENV", make("env.xml", customEnv(platform(keys))));
        ASSERT_EQ(gCustomEnvMgr.loadConfigFile(), 0);
    }
    void initialize(char const* locale = "de_DE") {
        ASSERT_EQ(COrbuIntHost::initialize(locale, onErrorText, logFile().c_str()), OrbuIntDone);
        EXPECT_EQ(COrbuIntHost::instance()->setAppProcessEventsCallback(pumpEvents, &host), 0);
        EXPECT_EQ(COrbuIntHost::instance()->setOrBUDialogDisplayCallback(onDialog, -7), 0);
    }

    static std::string hostPrefix() { return "/var/tmp/QMX" + std::to_string(::getpid()); }
    static std::string hostLock() { return "/QMX" + std::to_string(::getpid()) + ".lock"; }
    std::string logFile() const { return in("general.log"); }

    // A server by hand for one connection: keeps the lines, and answers those that want it, with `attributes`
    // in the answer. Dialogs are left standing without.
    Child serve(std::optional<std::string> const& attributes) {
        std::string const place = hostPrefix();
        std::string const output = place + "/" + std::to_string(::getpid());
        std::filesystem::remove(in("lines"));
        Child server([=, this] {
            ::alarm(60);
            ::mkdir(place.c_str(), 0770);
            ::mkfifo((place + "/0").c_str(), 0700);
            std::fstream input(place + "/0"); // for writing, too: there is no end
            writeFile(place + "/.serverpid", std::to_string(::getpid()));
            std::string lines;
            for (std::string line; lines.find("system.cndTerm") == std::string::npos;) {
                std::getline(input, line);
                lines += line + "\n";
                writeFile(in("lines"), lines);
                std::smatch field;
                if (std::regex_match(line, field, std::regex("65536;(\\w+)\\.\\w+;\\d+;(\\d+);0;2;.*")) &&
                    (attributes || field[1] == "system")) {
                    writeFile(output, "65536;" + field[1].str() + ".RESP;" + field[2].str() + ";77;0;1;" +
                                          attributes.value_or("") + "RSCD=d0\n");
                }
            }
            ::unlink((place + "/0").c_str());
            return 0;
        });
        EXPECT_TRUE(
            eventually([&] { return fileText(place + "/.serverpid") == std::to_string(server.pid()); }));
        return server;
    }
    // What the server got between the handshake and the goodbye; a process id reads PID.
    std::string lines() const {
        std::string const all = std::regex_replace(fileText(in("lines")),
                                                   std::regex("CPID=d" + std::to_string(::getpid())), "PID");
        size_t const first = all.find('\n') + 1;
        size_t const last = all.find("65536;system.cndTerm;77;");
        return last == std::string::npos ? "no goodbye: " + all : all.substr(first, last - first);
    }
    // The records in the general log since the last call: unit, status and vendor's status.
    Texts records() {
        std::string const all = std::regex_replace(fileText(logFile()), std::regex("[^\n]*\t"), "");
        std::filesystem::remove(logFile());
        Texts found;
        std::regex const record("File=(.*),Line=[0-9]+\nOrbuIntError=([0-9]+)(\nVendorID=([0-9]+))?");
        for (std::sregex_iterator match(all.begin(), all.end(), record), end; match != end; ++match) {
            found.push_back((*match)[1].str() + " " + (*match)[2].str() +
                            ((*match)[4].matched ? " of " + (*match)[4].str() : ""));
        }
        return found;
    }
};

bool showError(char const* caption = "outer") { return OrbuIntUtil::showErrorDialog(caption, "T", "", 1); }

TEST_F(Dialogs, GoOverTheWireExactly) {
    auto const expect = [this](char const* attributes, std::function<long()> const& show, long result,
                               std::string const& request, Texts const& told) {
        SCOPED_TRACE(request);
        QMXPipeConduit::sLastSessionId = 10;
        Child server = serve(attributes);
        EXPECT_EQ(show(), result);
        EXPECT_EQ(server.wait(), 0);
        EXPECT_EQ(lines(), request);
        EXPECT_EQ(records(), Texts());
        EXPECT_EQ(std::exchange(host.seen, {}), told);
    };
    // Without a host record, and with a text that is null.
    std::string const error = "65536;orbu.ErrorDialog;77;10;0;2;icon=d";
    std::function<long()> show = [] { return 0L + OrbuIntUtil::showErrorDialog(TStr::null, "", "", -1); };
    expect("", show, 1,
           error + "-1;title=h;enable_description=hFalse;locale=h;selector=hErrorDialogBase;PID\n", {});
    initialize();
    Texts const told = {"1 -7", "2 -7"};
    show = [] { return 0L + OrbuIntUtil::showErrorDialog("Ups", "\xC3\x9C;=,!\n", "Platte voll", 3); };
    expect("", show, 1,
           error + "3;caption=hUps;title=h!c3!9c!3b!3d!2c!21!0a;enable_description=hTrue;locale=hde_DE;"
                   "selector=hErrorDialogBase;detail=hPlatte!20voll;PID\n",
           told);
    std::string const box = "65536;qmx.MessageBox;77;10;0;2;icon=d";
    show = [] { return OrbuIntUtil::showMessageBox("Frage", "Weiter?", 4, "yes", "no", 1); };
    expect("selected_button=d1;", show, 1,
           box + "4;caption=hFrage;title=hWeiter!3f;focus_button_index=d1;locale=hde_DE;button_0=hJa;"
                 "button_1=hNein!3b!20nicht;PID\n",
           told);
    // An id that no string has, and no second button; an answer that does not say which.
    show = [] { return OrbuIntUtil::showMessageBox("", "", 9, "unknown", TStr::null, 0); };
    expect("", show, 0, box + "9;caption=h;title=h;focus_button_index=d0;locale=hde_DE;button_0=h;PID\n",
           told);
    // Two share a connection, which lasts as long as the second.
    std::string const wait = "65536;orbu.PleaseWaitDialog;77;10;0;1;waiting=h";
    std::string const open = wait + "True;locale=hde_DE;PID\n";
    show = [] {
        COrbuIntWaitDialog second(false);
        return 0L + COrbuIntWaitDialog(true).show() + second.show() + second.close();
    };
    expect("", show, 0, open + open + wait + "False;locale=hde_DE;PID\n", {});
    // The end of the host record ends a connection that nobody has ended.
    show = [] {
        COrbuIntWaitDialog const left(true);
        COrbuIntHost::shutdown();
        return 0L + (COrbuIntWaitDialog::mpConduit != nullptr);
    };
    expect("", show, 0, "", {});
}

TEST_F(Dialogs, TellWhyTheyCannotBeShown) {
    COrbuIntWaitDialog wait(false);
    EXPECT_EQ(wait.close(), 8);
    expectError("Cannot lock server");
    expectError("QMX is unavailable");
    for (bool const waiting : {false, true}) {
        sem_t* const lock = ::sem_open(hostLock().c_str(), O_CREAT, 0600, 0); // somebody holds it
        EXPECT_EQ(waiting ? wait.show() : showError(), waiting ? 5 : 0);
        ::sem_close(lock);
        ::sem_unlink(hostLock().c_str());
    }
    EXPECT_EQ(records(), (Texts{"OrbuIntWaitDialog 8", "orbuintutil 5", "OrbuIntWaitDialog 5"}));

    useLocations(key("ORBU_MAC_FRAMEWORK_LOCATION", mPlace)); // no common bin folder
    EXPECT_EQ(OrbuIntUtil::getQMXPipeConduit(), nullptr);
    EXPECT_EQ(OrbuIntUtil::showMessageBox("", "", 0, "yes", "no", 0), -1);
    EXPECT_EQ(wait.show(), 5);
    EXPECT_EQ(COrbuIntWaitDialog(true).close(), 8);
    EXPECT_EQ(records(), (Texts{"orbuintutil 5", "OrbuIntWaitDialog 5", "OrbuIntWaitDialog 8"}));
    EXPECT_EQ(::sem_open(hostLock().c_str(), 0), SEM_FAILED); // nothing was tried

    struct Failing : QMXPipeNamedConduit {
        using QMXPipeNamedConduit::QMXPipeNamedConduit;
        long send(QMXPipePacket*, QMXPipePacket*, long writer) override { return writer == 0 ? 17 : writer; }
    };
    QMXPipePacket request("orbu.Any", nullptr, QMXPipe::Synchronous);
    Failing failing(prefix().c_str(), false, QMXPipe::Synchronous);
    EXPECT_EQ(OrbuIntUtil::sendQMXPacket(nullptr, &request, nullptr, 0), 1);
    EXPECT_EQ(OrbuIntUtil::sendQMXPacket(&failing, nullptr, nullptr, 0), 1);
    EXPECT_EQ(records(), Texts());
    EXPECT_EQ(OrbuIntUtil::sendQMXPacket(&failing, &request, nullptr, 9), 9); // handed on as the writer
    COrbuIntWaitDialog::mpConduit = &failing;
    EXPECT_EQ(wait.show(), 2);
    EXPECT_EQ(wait.close(), 2);
    COrbuIntWaitDialog::mpConduit = nullptr;
    EXPECT_EQ(records(), (Texts{"orbuintutil 9 of 8", "orbuintutil 17 of 8", "OrbuIntWaitDialog 2",
                                "orbuintutil 17 of 8", "OrbuIntWaitDialog 2"}));
    failing.terminate(false);
}

// The end of a conversation with a dead server raises SIGPIPE. The host keeps its own mask, has it in its
// callback, and keeps a signal that was pending before.
TEST_F(Dialogs, OutliveTheServerAndKeepItsSignalFromTheHost) {
    initialize();
    expectError("QMX is unavailable");
    sigset_t const signals = pipeSignal();
    for (auto const& own : {std::pair(false, false), std::pair(true, false), std::pair(true, true)}) {
        if (own.first) {
            pthread_sigmask(SIG_BLOCK, &signals, nullptr);
        }
        if (own.second) {
            ::raise(SIGPIPE);
        }
        Child server = serve(std::nullopt);
        host.pump = [&] {
            EXPECT_EQ(pipeState(), own);
            server.end();
        };
        EXPECT_FALSE(showError());
        EXPECT_EQ(pipeState(), own);
        Child another = serve("");
        {
            COrbuIntWaitDialog wait(true);
            another.end();
            EXPECT_EQ(wait.show(), 0); // lost
        }
        EXPECT_EQ(pipeState(), own);
        EXPECT_EQ(records(), Texts{"orbuintutil 4 of 8"});
    }
}

// With the real server: all connections of the process share one FIFO.
TEST_F(Dialogs, OverlapAsTold) {
    setVariable("ORBU_QMX_ANSWERS", "caption=outer after=300ms; after=10ms");
    initialize();
    std::optional<COrbuIntWaitDialog> wait(true);
    EXPECT_EQ(wait->show(), 0);
    std::string const server = fileText(hostPrefix() + "/.serverpid");
    EXPECT_TRUE(showError()); // a dialog during a wait, for which the server stays
    ::usleep(200000);
    EXPECT_EQ(fileText(hostPrefix() + "/.serverpid"), server);
    EXPECT_EQ(wait->close(), 0);
    EXPECT_EQ(wait->show(), 0);
    host.pump = [] { // a wait that was connected before, during a dialog
        COrbuIntWaitDialog nested(false);
        EXPECT_EQ(nested.show() + nested.close(), 0);
    };
    EXPECT_TRUE(showError());
    wait.reset(); // does not wait for an answer that cannot come
    EXPECT_EQ(records(), Texts());

    host.pump = [] { COrbuIntWaitDialog(true).show(); };
    EXPECT_FALSE(showError());
    host.pump = [] { EXPECT_TRUE(showError("inner")); };
    EXPECT_FALSE(showError());
    EXPECT_EQ(records(), (Texts{"orbuintutil 1 of 8", "orbuintutil 1 of 8"}));
    host.pump = [] { // and would throw again while the connection ends
        host.pump = [] { throw 2; };
        throw 1;
    };
    EXPECT_THROW(showError(), int);
    EXPECT_EQ(pipeState(), std::pair(false, false));
    host.pump = COrbuIntHost::shutdown; // the record is gone before the dialog
    EXPECT_TRUE(showError());
    EXPECT_EQ(COrbuIntHost::instance(), nullptr);
}

TEST_F(Dialogs, TheHostIsRememberedUntilItsEnd) {
    EXPECT_FALSE(OrbuIntUtil::orbuIntSetQMXDlgDisplay(nullptr, true));
    EXPECT_FALSE(OrbuIntUtil::sendErrorMsgToApp("x"));
    EXPECT_EQ(text(OrbuIntUtil::getAppLocale()), "");
    OrbuIntUtil::orbuQMXPipeCB(nullptr);

    // No resources for this one; and nobody is told about errors.
    EXPECT_EQ(COrbuIntHost::initialize("fr_FR", nullptr, logFile().c_str()), OrbuIntNoResources);
    EXPECT_EQ(records(), Texts{"orbuintHost 3"});
    EXPECT_FALSE(OrbuIntUtil::sendErrorMsgToApp("x"));
    EXPECT_TRUE(OrbuIntUtil::orbuIntSetQMXDlgDisplay(nullptr, false));
    EXPECT_EQ(OrbuIntUtil::getAppMsgCB(), nullptr);

    initialize("DE-de"); // told anew
    EXPECT_EQ(text(OrbuIntUtil::getAppLocale()), "DE-de");
    EXPECT_TRUE(OrbuIntUtil::orbuIntSetQMXDlgDisplay(nullptr, true));
    EXPECT_TRUE(OrbuIntUtil::sendErrorMsgToApp("\xC3\xA9t\xC3\xA9"));
    EXPECT_TRUE(OrbuIntUtil::sendErrorMsgToApp(TStr::null));
    EXPECT_EQ(host.seen, (Texts{"1 -7", "\xC3\xA9t\xC3\xA9 3", " 0"}));

    COrbuIntHost::shutdown();
    EXPECT_EQ(COrbuIntHost::instance(), nullptr);
    // While hooks run, none is made.
    static int refused;
    COrbuUtilObjectManager::at_exit(
        &refused, [](void*, void*) { refused = COrbuIntHost::initialize("de_DE", nullptr); }, nullptr);
    COrbuIntHost::shutdown();
    EXPECT_EQ(refused, OrbuIntRefused);
}

TEST_F(Dialogs, TheUserAndTheDomain) {
    TStr user;
    EXPECT_TRUE(OrbuIntUtil::getCurrentUserName(user, true));
    EXPECT_EQ(text(user), std::to_string(::geteuid()));
    setVariable("PATH", mPlace + ":" + std::getenv("PATH"));
    char const* const rows[][2] = {
        {"nameserver 1.2.3.4\n", ""},
        {"=domain no\n#\n domain \t example.org  more\ndomain second\n", "example.org"},
        {"search domain example\n", "domain"}, // the second word of whatever line
        {"domain\ndomain \xC3\xA9\n", "\xC3\xA9"},
    };
    for (auto const& row : rows) {
        writeFile(in("resolv"), row[0]); // in the place of the system's
        make("cat", "#!/bin/sh\nexec sed '' " + in("resolv") + "\n");
        EXPECT_EQ(text(OrbuIntUtil::getCurrentUserDomain()), row[1]);
    }
}

} // namespace
