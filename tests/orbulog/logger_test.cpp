#include "logSupport.h"

#include "orbulog/orbuDebugLog.h"
#include "orbulog/orbuDebugLogger.h"
#include "orbulog/orbuExternalLog.h"
#include "orbulog/orbuPerfLog.h"
#include "orbulog/orbuPerfLogger.h"
#include "orbuutil/orbuUtil.h"
#include "orbuutil/orbuutilObjectManager.h"
#include "orbuutil/platformNamesPrivate.h"
#include "support/semaphores.h"

#include <chrono>
#include <fcntl.h>
#include <map>
#include <new>
#include <semaphore.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
long objects_made = 0;
} // namespace

// Not inlined: the compiler would see malloc() and operator new as two families.
__attribute__((noinline)) void* operator new(size_t size) {
    ++objects_made;
    void* const block = std::malloc(size);
    return block != nullptr ? block : throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* block) noexcept { std::free(block); }
__attribute__((noinline)) void operator delete(void* block, size_t) noexcept { std::free(block); }

namespace {

using ::testing::ElementsAre;
using ::testing::MatchesRegex;

class Logger : public LogTest {
protected:
    static void debug(char const* message, bool stamp = true) {
        OrbuDebugLogger logger;
        if (stamp) {
            logger.startLogging();
        }
        logger.log(OrbuDebugLog(Orbu::VendorOrbuInt, message));
    }
    // The semaphores of the two logs are shared by all tests that run now; this one has a name of its own.
    std::string general() const { return folder + folder.substr(folder.rfind('/')) + ".log"; }
    std::string mutexName() const { return general().substr(folder.size()) + ".Mutex"; }
};

TEST_F(Logger, WritesNothingWhileItIsOff) {
    debug("warm up"); // what a process finds once
    long const start = objects_made;
    OrbuUtil::getOrbuLocalUserDataLocation();
    long const before = objects_made;
    debug("x");
    EXPECT_EQ(before - start, objects_made - before); // its strings, and the question for the folder
    EXPECT_FALSE(fileExists(debugLog()));
    // The folder is made all the same, with nothing for others.
    EXPECT_EQ(S_IFDIR | 0u, modeOf(home + "/Orbu") & (S_IFMT | 07));

    OrbuDebugLogger logger;
    logger.startLogging();
    ::setenv("ORBU_DEBUG_MODE", "0", 1);
    logger.log(OrbuDebugLog(Orbu::VendorOrbuInt, "off"));
    logger.checkIfDebugLogIsEnabled();
    logger.log(OrbuDebugLog(Orbu::VendorOrbuInt, "on"));
    ::unsetenv("ORBU_DEBUG_MODE");
    logger.checkIfDebugLogIsEnabled(); // never turns it off
    logger.log(OrbuDebugLog(Orbu::VendorOrbuInt, "still on"));
    EXPECT_EQ(2u, linesOf(debugLog()).size());
}

TEST_F(Logger, WritesOneLineAnEntry) {
    ::setenv("ORBU_DEBUG_MODE", "", 1); // an empty value counts
    debug("no stamp", false);
    EXPECT_TRUE(fileExists(debugLog()));
    EXPECT_EQ("", fileText(debugLog()));
    debug("first %1");
    OrbuDebugLogger logger;
    logger.log(nullptr);
    logger.startLoggingWMilliSecs();
    std::string const header = shown(logger.getHeader());
    OrbuDebugLog record(static_cast<Orbu::VendorID>(42), "second");
    logger.log(record);
    ::usleep(2000);
    logger.log(&record); // the same stamp
    record.clear();
    logger.startLoggingWMilliSecs();
    logger.log(record);
    EXPECT_THAT(
        linesOf(debugLog()),
        ElementsAre(
            MatchesRegex("[0-9/]{10} [0-9:]{8} " + std::to_string(::getpid()) + " \\[OrbuInt\\] first %1 "),
            header + " [None] second ", header + " [None] second ", shown(logger.getHeader()) + "   "));
    EXPECT_NE(header, shown(logger.getHeader()));
}

TEST_F(Logger, WritesThePerformanceColumns) {
    ::setenv("ORBU_PERF_LOG", "1", 1);
    OrbuPerfLogger logger;
    logger.startLoggingWMilliSecs();
    OrbuPerfLog record(Orbu::VendorOrbuQMX, {"a%1", "", "", "", "Load.START"});
    logger.log(record);
    record.clear();
    logger.log(record);
    std::string section = shown(logger.getHeader());
    std::replace(section.begin(), section.end(), ' ', ',');
    std::string const front = section + "," + shown(private_platform_os_name()) + "," +
                              shown(private_platform_host_name()) + ",31.0.9.0,";
    EXPECT_THAT(linesOf(perfLog()),
                ElementsAre(front + "a%1:NA,NA:NA,[OrbuQMX],Load.START,", front + ":,:,[OrbuQMX],,"));
}

TEST_F(Logger, LosesEntriesWithoutAWord) {
    ::setenv("ORBU_DEBUG_MODE", "1", 1);
    ::unsetenv("HOME");
    EXPECT_EQ("", shown(OrbuDebugLogger().getLogFileName()));
    debug("no home");
    ::setenv("HOME", "/dev/null", 1);
    debug("no folder");
    ::setenv("HOME", home.c_str(), 1);
    ASSERT_EQ(0, std::system(("mkdir -p " + debugLog()).c_str()));
    debug("a folder for a file");

    ASSERT_EQ(0, ::symlink("/dev/full", perfLog().c_str()));
    ::setenv("ORBU_PERF_LOG", "1", 1);
    OrbuPerfLogger full;
    full.startLogging();
    full.log(OrbuPerfLog(Orbu::VendorOrbuInt, {"a", "b", "c", "d", "disk full"}));

    OrbuLogger unnamed(false);
    unnamed.setLogFileName((folder + "/general/").c_str());
    unnamed.setLogFileName("");
    EXPECT_EQ(folder + "/general/", shown(unnamed.getLogFileName()));
    unnamed.startLogging();
    unnamed.log(OrbuDebugLog(Orbu::VendorOrbuInt, "no name behind the folder"));
}

TEST_F(Logger, WaitsForALimitedTime) {
    sem_t* const held = ::sem_open(mutexName().c_str(), O_CREAT | O_EXCL, 0644, 0);
    ASSERT_NE(SEM_FAILED, held);
    OrbuLogger logger(general().c_str());
    logger.startLogging();
    logger.log(nullptr);
    EXPECT_EQ(0, semaphoreValue(mutexName()));
    auto const start = std::chrono::steady_clock::now();
    logger.log(OrbuDebugLog(Orbu::VendorOrbuInt, "late"));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(10));
    EXPECT_EQ(1u, linesOf(general()).size());
    EXPECT_EQ(-1, semaphoreValue(mutexName()));
    EXPECT_EQ(-1, ::sem_trywait(held)); // what it does not hold it does not give back
    ::sem_close(held);
}

TEST_F(Logger, TakesARecordThatLogsItself) {
    struct Nested : OrbuDebugLog {
        Nested() : OrbuDebugLog(Orbu::VendorOrbuRT, "outer") {}
        void dumpTechSupport(OrbuLogger* logger) const override {
            logger->log(OrbuDebugLog(Orbu::VendorOrbuInt, "inner"));
            OrbuDebugLog::dumpTechSupport(logger);
        }
    };
    OrbuLogger logger(general().c_str());
    logger.startLogging();
    logger.log(Nested());
    std::string const header = shown(logger.getHeader());
    EXPECT_THAT(linesOf(general()), ElementsAre(header + " [OrbuInt] inner ", header + " [OrbuRT] outer "));
}

TEST_F(Logger, KeepsTwoLoggersApart) {
    OrbuLogger* const one = OrbuLogger::instance();
    EXPECT_EQ(one, OrbuLogger::instance());
    OrbuLogger* const other = OrbuLogger::instance_m();
    EXPECT_NE(one, other);
    EXPECT_EQ(other, OrbuLogger::instance_m());
    one->setLogFileName("one");
    other->setLogFileName("other");
    OrbuLogger::close();
    EXPECT_EQ("", shown(OrbuLogger::instance()->getLogFileName()));
    EXPECT_EQ("other", shown(OrbuLogger::instance_m()->getLogFileName()));
    COrbuUtilObjectManagerManager::cleanup();
    EXPECT_EQ("", shown(OrbuLogger::instance_m()->getLogFileName()));
    OrbuLogger::close();
    OrbuLogger::close();
}

// Lines never mix, as each is one write at the end of the file; so none may be lost or torn, whatever the
// lock's time limit lets through.
TEST_F(Logger, KeepsTheLinesOfManyProcessesWhole) {
    constexpr int processes = 6;
    constexpr int entries = 100;
    ::setenv("ORBU_DEBUG_MODE", "1", 1);
    ::setenv("ORBU_PERF_LOG", "1", 1);
    std::string const filler(6000, '-'); // longer than a block
    std::vector<Child> writers;
    for (int writer = 0; writer < processes; ++writer) {
        writers.emplace_back([&, writer] {
            for (int entry = 0; entry < entries; ++entry) {
                std::string const id = std::to_string(writer) + "." + std::to_string(entry) + ".";
                debug((id + (entry % 10 == 0 ? filler : "") + "!").c_str());
                OrbuPerfLogger logger;
                logger.startLoggingWMilliSecs();
                logger.log(OrbuPerfLog(Orbu::VendorOrbuRT, {id.c_str(), "", "", "", "Work.START"}));
            }
            return 0;
        });
    }
    for (Child& writer : writers) {
        EXPECT_EQ(0, writer.wait());
    }
    std::map<std::string, int> seen;
    for (std::string const& line : linesOf(debugLog())) {
        EXPECT_THAT(line, MatchesRegex("[0-9/]{10} [0-9:]{8} [0-9]+ \\[OrbuInt\\] [0-9]+\\.[0-9]+\\.-*! "));
        ++seen[line.substr(line.find(']') + 2, line.find_last_of("0123456789") - line.find(']') - 1)];
    }
    EXPECT_EQ(size_t(processes * entries), seen.size());
    EXPECT_EQ(size_t(processes * entries), linesOf(debugLog()).size());
    std::map<std::string, int> perf;
    for (std::string const& line : linesOf(perfLog())) {
        EXPECT_EQ(10, std::count(line.begin(), line.end(), ',')) << line;
        ++perf[line.substr(line.find("31.0.9.0,"))];
    }
    EXPECT_EQ(size_t(processes * entries), perf.size());
}

TEST_F(Logger, HandsTextToTheHost) {
    std::string got;
    auto const collect = [](void* to, char const* text) { *static_cast<std::string*>(to) += text; };
    OrbuExternalLog::log_message("nobody %s", "listens");
    EXPECT_EQ(0, OrbuExternalLog::set_external_log_handler(collect, &got));
    OrbuExternalLog::log_message("%s=%d", "a", 5);
    EXPECT_EQ("a=5", got);
    got.clear();
    OrbuExternalLog::log_message("%s", std::string(5000, 'x').c_str());
    EXPECT_EQ(std::string(1023, 'x'), got);
    EXPECT_EQ(0, OrbuExternalLog::set_external_log_handler(nullptr, nullptr));
    OrbuExternalLog::log_message("off");
    EXPECT_EQ(1023u, got.size());
}

TEST(PlatformNames, ReadsTheSystemsOwnName) {
    std::pair<std::string, char const*> const cases[] = {
        {"NAME=x\nPRETTY_NAME=\"A \\\"B\\\" \\$1 (c)\"\nID=x\n", "A \"B\" $1 (c)"},
        {"PRETTY_NAME='single \\ quotes'", "single \\ quotes"},
        {"PRETTY_NAME=Bare\n", "Bare"},
        {"PRETTY_NAME=first\nPRETTY_NAME=last", "last"},
        {"MY_PRETTY_NAME=x\n#PRETTY_NAME=y\n", ""},
        {"PRETTY_NAME=\"open\\", "open\\"},
        {"PRETTY_NAME=\"a\tb\"x", "ab"},
        {"PRETTY_NAME=", ""},
        {"", ""},
    };
    for (auto const& [text, name] : cases) {
        EXPECT_EQ(name, private_pretty_name(text));
    }
}

} // namespace
