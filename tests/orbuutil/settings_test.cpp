#include "platformSupport.h"

#include "orbuutil/orbuSettings.h"
#include "orbuutil/orbuSettingsPrivate.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <regex>
#include <semaphore.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>

namespace {

std::string bytes(TStr const& text) { return std::string(private_settings_bytes(text)); }

// "section/key=value;" for each value, or why there is none.
std::string shown(OrbuSettings const& store, bool good) {
    std::string text = good ? "" : bytes(store.errorText()) + ", line " + std::to_string(store.errorLine());
    store.visitData(
        [](TStr const& section, TStr const& key, TStr const& value, void* context) {
            *static_cast<std::string*>(context) +=
                bytes(section) + "/" + bytes(key) + "=" + bytes(value) + ";";
        },
        &text);
    return text;
}

std::string sectionOf(OrbuSettings& store, const char* name) {
    std::map<TStr, TStr> found;
    EXPECT_TRUE(store.getSection(name, found));
    std::string text;
    for (auto const& [key, value] : found) {
        text += bytes(key) + "=" + bytes(value) + ";";
    }
    return text;
}

// <s a><d k>v</d></s> stands for the elements and attributes with their whole names.
std::string settings(std::string text) {
    text = std::regex_replace(text, std::regex("<s "), "<Section Name=");
    text = std::regex_replace(text, std::regex("</s>"), "</Section>");
    text = std::regex_replace(text, std::regex("<d "), "<Data Key=");
    text = std::regex_replace(text, std::regex("</d>"), "</Data>");
    return "<OrbuSettings>" + text + "</OrbuSettings>";
}

class Settings : public PlaceTest {
protected:
    Settings()
        : file(in("settings" + std::to_string(::getpid()))),
          mutex(bytes(OrbuSettings::formatMutexName(file.c_str()))) {}
    ~Settings() override { ::sem_unlink(mutex.c_str()); }

    void put(std::string const& text) const { std::ofstream(file) << text; }

    // What a new object reads in the file.
    std::string stored() const {
        OrbuSettings store(false);
        bool const good = store.open(file.c_str(), false);
        return shown(store, good);
    }

    std::string const file;
    std::string const mutex;
};

TEST_F(Settings, Reads) {
    std::string nested;
    for (int level = 0; level < 100000; ++level) {
        nested += "<a>";
    }
    struct {
        std::string text, shown;
    } const rows[] = {
        {settings(""), ""},
        {"\xEF\xBB\xBF" + settings("<s 'a'><d 'k'>v</d></s>") + std::string(5, '\0') + "<<<", "a/k=v;"},
        {settings("<s 'a'><d 'k'>1</d><d 'k'>2</d></s><s 'a'><d 'k'>3</d></s>"), "a/k=1;"},
        // What has no names is passed over, and a value may be none.
        {settings("<Section/><s ''><d 'k'>v</d></s><s 'a'><Data>x</Data><d ''>x</d><d 'k'></d><d "
                  "'e'><b/></d></s>"),
         "a/k=;a/e=;"},
        {"<!DOCTYPE x [<!ENTITY a \"&a;&a;\">]>" + settings("<s 'a'><d 'k'>&a;&#0;&#xffffff;</d></s>"),
         "a/k=&a;;"},
        {settings("\n<Section/>"), "there is no value in it, line 1"},
        {"\n<Other/>", "the root element is not OrbuSettings, line 2"},
        {nested, "element depth exceeded, line 1"},
    };
    for (auto const& row : rows) {
        put(row.text);
        EXPECT_EQ(stored(), row.shown);
        EXPECT_EQ(fileText(file), row.text);
        OrbuSettings parsed(true);
        bool const good = parsed.parse(row.text.c_str(), false);
        EXPECT_EQ(shown(parsed, good), row.shown);
    }
    EXPECT_EQ(::mkfifo(in("fifo").c_str(), 0600), 0);
    for (std::string const& place : {mPlace, in("fifo"), std::string("/dev/zero")}) {
        EXPECT_FALSE(OrbuSettings(false).open(place.c_str(), false)) << place;
    }
    EXPECT_TRUE(OrbuSettings::formatMutexName("").isEmpty() &&
                OrbuSettings::formatMutexName("folder/").isEmpty());
    EXPECT_EQ(bytes(OrbuSettings::formatMutexName("/a/b%1%2")), "/" + std::to_string(::getuid()) + "b%1%2");
}

TEST_F(Settings, ChangesAreSeenAsTold) {
    put(settings("<s 'ab'><d 'k'>1</d><d 'old'>2</d><d 'e/'>x</d></s><s 'xab'><d 'x'>3</d></s>"));
    OrbuSettings store(false);
    ASSERT_TRUE(store.open(file.c_str(), false));
    TStr value("before");
    EXPECT_TRUE(!store.getData("ab", "none", value) && value.isEmpty() && !store.removeData("ab", "none"));
    EXPECT_TRUE(store.setData("ab", "new", "4") && store.getData("ab", "new", value) && value == "4");
    EXPECT_TRUE(store.setData("ab", "k", "5") && store.getData("ab", "k", value) && value == "5");
    EXPECT_TRUE(store.removeData("ab", "old") && store.getData("ab", "old", value) && value == "2");
    EXPECT_EQ(sectionOf(store, "ab"), "k=5;new=4;x=3;");
    std::map<TStr, TStr> found = {{"ab", ""}};
    EXPECT_TRUE(store.getSection(found.begin()->first, found) && found.size() == 3);
    EXPECT_TRUE(store.setData("ab", "old", "6")); // takes the removal back
    EXPECT_TRUE(store.removeData("ab", "new") && !store.getData("ab", "new", value));
    EXPECT_EQ(sectionOf(store, "ab"), "k=5;old=6;x=3;");
    EXPECT_TRUE(store.removeSection("xab"));
    // The changes outlive a reading that keeps them, and one that does not drops them.
    EXPECT_TRUE(store.parse(settings("<s 'ab'><d 'z'>9</d></s>").c_str(), true));
    EXPECT_EQ(sectionOf(store, "ab"), "k=5;old=6;z=9;");
    EXPECT_TRUE(store.refresh(true) && store.refresh(false));
    EXPECT_EQ(sectionOf(store, "ab"), "");
}

TEST_F(Settings, Saves) {
    std::string const nested = in("new/folders/") + file.substr(file.rfind('/') + 1);
    OrbuSettings first(true);
    EXPECT_FALSE(first.open(nested.c_str(), true)); // no path to keep
    ASSERT_TRUE(first.open(nested.c_str(), false));
    EXPECT_FALSE(first.save(nested.c_str()) ||
                 std::filesystem::exists(nested)); // an empty store is not written
    std::string const odd = " <&>\"' %1 \u00e9\n]]> ";
    first.setData("a", "k", odd.c_str());
    first.setData("b", "k", "1");
    mode_t const mask = ::umask(027);
    EXPECT_FALSE(first.save(nested.c_str())); // and did it
    ::umask(mask);
    EXPECT_TRUE(modeOf(nested) == (S_IFREG | 0640) && modeOf(in("new")) == (S_IFDIR | 0750));
    EXPECT_EQ(fileText(nested).rfind(R"(<?<?xml version="1.0" encoding="UTF-8" standalone="yes"?>?>)", 0),
              0U);
    EXPECT_EQ(::sem_unlink(mutex.c_str()), -1); // no name is left behind
    std::filesystem::rename(nested, file);
    EXPECT_EQ(stored(), "a/k=" + odd + ";b/k=1;");

    // Two objects, read before either saves; a shorter text follows a longer one. Once more changes nothing.
    OrbuSettings one(false);
    OrbuSettings other(false);
    EXPECT_TRUE(one.open(file.c_str(), false) && other.open(file.c_str(), false));
    one.setData("a", "k", "2");
    one.setData("c", "one", "3");
    other.setData("c", "other", "4");
    other.removeData("b", "k");
    std::string texts[2];
    for (std::string& text : texts) {
        EXPECT_FALSE(one.save(file.c_str()) || other.save(file.c_str()));
        text = fileText(file);
        EXPECT_EQ(stored(), "a/k=2;c/one=3;c/other=4;");
    }
    EXPECT_EQ(texts[0], texts[1]);
    EXPECT_EQ(texts[0].find('\0'), std::string::npos);

    int const fd = ::open(file.c_str(), O_RDONLY);
    EXPECT_TRUE(private_settings_open_to_all(fd, in("new").c_str()));
    EXPECT_TRUE(modeOf(file) == (S_IFREG | 0666) && modeOf(in("new")) == (S_IFDIR | 0777));
    EXPECT_FALSE(private_settings_open_to_all(fd, in("none").c_str()) ||
                 private_settings_open_to_all(-1, ""));
    ::close(fd);
}

// Changes meet what is in the file. In a store without a file to read anew, elements that are gone are not
// found again by a second save.
TEST_F(Settings, MergesByElement) {
    struct {
        std::string before;
        bool remove; // a/k, else set it to "new"
        std::string after;
    } const rows[] = {
        {R"(<s "a"><d "k"><b/></d></s>)", false, R"(<s "a"><d "k"><b/></d></s>)"},
        {R"(<s "a"><d "k"></d></s>)", false, R"(<s "a"><d "k"/><d "k">new</d></s>)"},
        {R"(<s "a"><d "k"><![CDATA[1]]></d></s>)", false, R"(<s "a"><d "k">new</d></s>)"},
        {R"(<s "a"><d "k">1</d><d "k">2</d></s>)", false, R"(<s "a"><d "k">new</d><d "k">2</d></s>)"},
        {R"(<s "a"><d "k">1</d><!--c--></s>)", true, R"(<s "a"><!--c--></s>)"},
        {R"(<s "a"><d "k">1</d></s><s "a"><d "k">2</d></s>)", true, R"(<s "a"><d "k">2</d></s>)"},
        {R"(<s "a"><d "k">1</d></s><s "b"><d "k">2</d></s>)", true, R"(<s "b"><d "k">2</d></s>)"},
        {R"(<s "a"><d "k">1</d></s>)", true, ""}, // the last value stays: nothing is written
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.before);
        std::filesystem::remove(file);
        OrbuSettings store(false);
        EXPECT_TRUE(store.parse(settings(row.before).c_str(), false));
        EXPECT_TRUE(row.remove ? store.removeData("a", "k") : store.setData("a", "k", "new"));
        EXPECT_FALSE(store.save(file.c_str()));
        std::string text = fileText(file);
        text.erase(0, text.find("<OrbuSettings>"));
        text = std::regex_replace(text, std::regex("\n *"), "");
        EXPECT_EQ(text, row.after.empty() ? "" : settings(row.after));
    }
    OrbuSettings store(false);
    ASSERT_TRUE(store.parse(settings("<s 'a'><d 'k'>1</d><d 'l'>2</d></s>").c_str(), false));
    store.setData("a", "k", "3");
    store.setData("b", "k", "4");
    store.removeData("a", "l");
    store.save(file.c_str());
    EXPECT_EQ(stored(), "a/k=3;b/k=4;");
    EXPECT_TRUE(store.removeData("a", "k"));
    for (int round = 0; round < 2; ++round) {
        store.save(file.c_str());
        EXPECT_EQ(stored(), "b/k=4;");
    }
    store.setData("a", "l", "5");
    store.save(file.c_str());
    EXPECT_EQ(stored(), "b/k=4;a/l=5;");
}

TEST_F(Settings, ProgrammersErrorsStopTheProcess) {
    OrbuSettings empty(false);
    OrbuSettings store(false);
    TStr value;
    std::map<TStr, TStr> found;
    ASSERT_TRUE(store.open(file.c_str(), false) && store.setData("a", "k/", "v"));
    auto const says = [](std::string const& text) {
        return ::testing::HasSubstr(text + "\" failed, OrbuSettings:");
    };
    EXPECT_DEATH(empty.open("", false), says("open: assertion \"!pathname.isEmpty()"));
    EXPECT_DEATH(empty.parse("", false), says("parse: assertion \"!xmlStr.isEmpty()"));
    EXPECT_DEATH(empty.save("x"), says("save: assertion \"_bIsLoaded && !outFile.isEmpty()"));
    EXPECT_DEATH(store.setData("a", "k", ""),
                 says("\"!name.isEmpty() && !key.isEmpty() && !value.isEmpty()"));
    EXPECT_DEATH(store.getData("a", "", value), says("\"!name.isEmpty() && !key.isEmpty()"));
    EXPECT_DEATH(store.removeData("", "k"), says("\"!name.isEmpty() && !key.isEmpty()"));
    EXPECT_DEATH(store.removeSection(""), says("removeSection: assertion \"!name.isEmpty()"));
    EXPECT_DEATH(store.getSection("a", found), says("getSection: assertion \"!dataKey.isEmpty()"));
    EXPECT_DEATH(store.save(file.c_str()),
                 says("commit: assertion \"!sectionName.isEmpty() && !dataKey.isEmpty()"));
}

TEST_F(Settings, FailedSaveLosesNothing) {
    put(settings("<s 'a'><d 'k'>v</d></s>"));
    OrbuSettings store(false);
    ASSERT_TRUE(store.open(file.c_str(), false));
    store.setData("a", "big", std::string(10000, 'x').c_str());
    // A limit on the size of files stands for a disk that is full.
    struct rlimit before = {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    struct rlimit const limit = {4096, before.rlim_max};
    auto const handler = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_FALSE(store.save(file.c_str()));
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_FALSE(store.errorText().isEmpty());
    EXPECT_EQ(stored(), "a/k=v;");
    // A file that became unreadable fails the save, which keeps the changes.
    put("<broken");
    EXPECT_FALSE(store.save(file.c_str()));
    EXPECT_EQ(fileText(file), "<broken");
    put(settings(""));
    EXPECT_TRUE(store.open(file.c_str(), true));
    EXPECT_FALSE(store.save(file.c_str()));
    EXPECT_EQ(stored().rfind("a/big=x", 0), 0U);
}

// Two processes that save, and this one that reads: what is in the file is whole at any time, and the last
// writer's keys are all there in the end. The other's may have been overwritten.
TEST_F(Settings, TwoWritersAndAReader) {
    constexpr int keys = 40;
    pid_t writers[2] = {};
    for (int i = 0; i < 2; ++i) {
        writers[i] = ::fork();
        if (writers[i] == 0) {
            OrbuSettings store(false);
            for (int key = 0; key < keys; ++key) {
                while (!store.open(file.c_str(),
                                   key > 0)) { // the other has made the file, and not written it yet
                }
                store.setData(std::to_string(i).c_str(), std::to_string(key).c_str(),
                              std::string(99, 'v').c_str());
                store.save(file.c_str());
            }
            ::_exit(0);
        }
    }
    bool made = false;
    for (pid_t const writer : writers) {
        int status = 0;
        while (::waitpid(writer, &status, WNOHANG) == 0) {
            std::string const read = stored();
            EXPECT_FALSE(made && read.find("line") != std::string::npos) << read;
            made = made || read.find("=v") != std::string::npos;
        }
        EXPECT_EQ(status, 0);
    }
    std::string const left = stored();
    int found[2] = {};
    for (int key = 0; key < 2 * keys; ++key) {
        std::string const name = std::to_string(key / keys) + "/" + std::to_string(key % keys) + "=v";
        found[key / keys] += left.find(name) != std::string::npos ? 1 : 0;
    }
    EXPECT_EQ(std::max(found[0], found[1]), keys);
}

// Kills it, and takes away the file that sem_open(3) was making a new semaphore in.
void killSaving(pid_t child) {
    std::vector<std::string> semaphores;
    std::error_code ignored;
    for (auto const& entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(child) + "/fd", ignored)) {
        semaphores.push_back(std::filesystem::read_symlink(entry.path(), ignored));
    }
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    for (std::string const& file : semaphores) {
        if (file.rfind("/dev/shm/sem.", 0) == 0) {
            ::unlink(file.c_str());
        }
    }
}

// Stops a saving process at one of its system calls and kills it there, for each of them in turn.
TEST_F(Settings, KilledBetweenAnyTwoCalls) {
    std::string const former = "a/k=v;a/l=w;";
    std::string const longer = "a/k=" + std::string(500, 'x') + ";a/l=w;";
    put(settings("<s 'a'><d 'k'>v</d><d 'l'>w</d></s>"));
    int changes = 0;
    int kills = 0;
    for (bool finished = false; !finished; ++kills) {
        std::string const before = stored();
        std::string const after = before == former ? longer : former;
        pid_t const child = ::fork();
        ASSERT_NE(child, -1);
        if (child == 0) {
            OrbuSettings store(false);
            store.open(file.c_str(), false);
            store.setData("a", "k", after == former ? "v" : std::string(500, 'x').c_str());
            if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
                ::_exit(2);
            }
            std::raise(SIGSTOP);
            store.save(file.c_str());
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        if (WIFEXITED(status)) {
            GTEST_SKIP() << "this system does not let a process trace another";
        }
        for (int calls = 0; calls <= kills && !finished; ++calls) {
            ASSERT_EQ(::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr), 0);
            ASSERT_EQ(::waitpid(child, &status, 0), child);
            finished = WIFEXITED(status);
        }
        if (!finished) {
            killSaving(child);
        }
        ::sem_unlink(mutex.c_str()); // the dead may hold it
        std::string const left = stored();
        EXPECT_TRUE(left == before || left == after) << "killed at stop " << kills << "\n" << fileText(file);
        changes += left == after ? 1 : 0;
    }
    EXPECT_TRUE(kills > 20 && changes > 1);
}

} // namespace
