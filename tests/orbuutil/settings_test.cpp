#include "platformSupport.h"

#include "orbuutil/orbuSettings.h"
#include "orbuutil/orbuSettingsPrivate.h"

#include <csignal>
#include <fcntl.h>
#include <semaphore.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Values = std::map<std::string, std::string>;

std::string bytes(TStr const& text) { return std::string(private_settings_bytes(text)); }

std::string entry(std::string const& key, std::string const& value) {
    return "<Data Key=\"" + key + "\">" + value + "</Data>";
}
std::string section(std::string const& name, std::string const& content) {
    return "<Section Name=\"" + name + "\">" + content + "</Section>";
}
std::string settings(std::string const& content) { return "<OrbuSettings>" + content + "</OrbuSettings>"; }

class Settings : public PlaceTest {
protected:
    Settings()
        : file(in("settings" + std::to_string(::getpid()) + ".xml")),
          mutex(bytes(OrbuSettings::formatMutexName(file.c_str()))) {}
    ~Settings() override { ::sem_unlink(mutex.c_str()); }

    void put(std::string const& text) const { std::ofstream(file) << text; }

    // What a new object reads in the file, by "section/key"; "unreadable" when it cannot be opened.
    Values stored() const {
        Values result;
        OrbuSettings store(false);
        if (!store.open(file.c_str(), false)) {
            return {{"unreadable", bytes(store.errorText())}};
        }
        store.visitData(
            [](TStr const& name, TStr const& key, TStr const& value, void* context) {
                (*static_cast<Values*>(context))[bytes(name) + "/" + bytes(key)] = bytes(value);
            },
            &result);
        return result;
    }

    static Values sectionOf(OrbuSettings& store, const char* name) {
        std::map<TStr, TStr> found;
        EXPECT_TRUE(store.getSection(name, found));
        Values result;
        for (auto const& [key, value] : found) {
            result[bytes(key)] = bytes(value);
        }
        return result;
    }

    std::string const file;
    std::string const mutex;
};

TEST_F(Settings, Reads) {
    struct {
        std::string text;
        bool good;
        int line;
        Values values;
    } const rows[] = {
        {settings(""), true, 0, {}},
        {"\xEF\xBB\xBF" + settings(section("a", entry("k", "v"))), true, 0, {{"a/k", "v"}}},
        {settings(section("a", entry("k", "1") + entry("k", "2")) + section("a", entry("k", "3"))),
         true,
         0,
         {{"a/k", "1"}}},
        // What has no names is passed over, and a value may be none.
        {settings("<Section/><Section Name=''>" + entry("k", "v") + "</Section>" +
                  section("a", "<Data>x</Data>" + entry("", "x") + entry("k", "") + entry("e", "<b>x</b>"))),
         true,
         0,
         {{"a/k", ""}, {"a/e", ""}}},
        {settings("\n<Section/>"), false, 1, {}},
        {"\n<Other/>", false, 2, {}},
        {"", false, 0, {}},
        {"<?xml version='1.0'?>\n<OrbuSettings>\n<Section>\n</Data>", false, 3, {}},
        {settings(section("a", entry("k", "v"))) + std::string(5, '\0') + "<<<", true, 0, {{"a/k", "v"}}},
        {"<!DOCTYPE x [<!ENTITY a \"&a;&a;\">]>" + settings(section("a", entry("k", "&a;&#0;&#xffffff;"))),
         true,
         0,
         {{"a/k", "&a;"}}},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.text);
        put(row.text);
        Values const read = stored();
        OrbuSettings store(false);
        EXPECT_EQ(store.open(file.c_str(), false), row.good);
        EXPECT_EQ(store.errorLine(), row.line);
        EXPECT_EQ(store.errorText().isEmpty(), row.good);
        if (row.good) {
            EXPECT_EQ(read, row.values);
        } else {
            EXPECT_TRUE(read.count("unreadable") == 1 && !read.at("unreadable").empty());
        }
        EXPECT_EQ(fileText(file), row.text);
        OrbuSettings parsed(true);
        if (!row.text.empty()) {
            EXPECT_EQ(parsed.parse(row.text.c_str(), false), row.good);
        }
    }
}

TEST_F(Settings, OpensNoStrangePlaces) {
    OrbuSettings store(false);
    EXPECT_EQ(::mkfifo(in("fifo").c_str(), 0600), 0);
    for (std::string const& place : {mPlace, in("fifo"), std::string("/dev/zero")}) {
        EXPECT_FALSE(store.open(place.c_str(), false)) << place;
    }
    std::string deep = "<OrbuSettings>";
    for (int i = 0; i < 100000; ++i) {
        deep += "<a>";
    }
    EXPECT_FALSE(store.parse(deep.c_str(), false));
    EXPECT_TRUE(OrbuSettings::formatMutexName("").isEmpty());
    EXPECT_TRUE(OrbuSettings::formatMutexName("folder/").isEmpty());
    EXPECT_EQ(bytes(OrbuSettings::formatMutexName("/a/b%1%2.xml")),
              "/" + std::to_string(::getuid()) + "b%1%2.xml");
}

TEST_F(Settings, ChangesAreSeenAsTold) {
    put(settings(section("ab", entry("k", "1") + entry("old", "2") + entry("e/", "x")) +
                 section("xab", entry("x", "3"))));
    OrbuSettings store(false);
    ASSERT_TRUE(store.open(file.c_str(), false));
    TStr value("before");
    EXPECT_FALSE(store.getData("ab", "none", value));
    EXPECT_TRUE(value.isEmpty());
    EXPECT_TRUE(store.setData("ab", "new", "4") && store.getData("ab", "new", value) && value == "4");
    EXPECT_TRUE(store.setData("ab", "k", "5") && store.getData("ab", "k", value) && value == "5");
    EXPECT_TRUE(store.removeData("ab", "old") && store.getData("ab", "old", value) && value == "2");
    EXPECT_FALSE(store.removeData("ab", "none"));
    EXPECT_EQ(sectionOf(store, "ab"), (Values{{"k", "5"}, {"new", "4"}, {"x", "3"}}));
    EXPECT_TRUE(store.setData("ab", "old", "6")); // takes the removal back
    EXPECT_TRUE(store.removeData("ab", "new") && !store.getData("ab", "new", value));
    EXPECT_EQ(sectionOf(store, "ab"), (Values{{"k", "5"}, {"old", "6"}, {"x", "3"}}));
    EXPECT_TRUE(store.removeSection("xab"));
    EXPECT_EQ(sectionOf(store, "ab"), (Values{{"k", "5"}, {"old", "6"}}));

    // The changes outlive a reading that keeps them, and one that does not drops them.
    EXPECT_TRUE(store.parse(settings(section("ab", entry("z", "9"))).c_str(), true));
    EXPECT_EQ(sectionOf(store, "ab"), (Values{{"k", "5"}, {"old", "6"}, {"z", "9"}}));
    EXPECT_TRUE(store.refresh(true) && store.refresh(false));
    EXPECT_TRUE(sectionOf(store, "ab").empty());
}

TEST_F(Settings, Saves) {
    std::string const nested = in("new/folders/") + file.substr(file.rfind('/') + 1);
    OrbuSettings first(true);
    EXPECT_FALSE(first.open(nested.c_str(), true)); // no path to keep
    ASSERT_TRUE(first.open(nested.c_str(), false));
    TStr value;
    EXPECT_FALSE(first.getData("a", "k", value) || first.save(nested.c_str()));
    EXPECT_FALSE(std::filesystem::exists(nested)); // an empty store is not written
    std::string const odd = " <&>\"' %1 \u00e9\n]]> ";
    first.setData("a", "k", odd.c_str());
    first.setData("b", "k", "1");
    mode_t const mask = ::umask(027);
    EXPECT_FALSE(first.save(nested.c_str())); // and did it
    ::umask(mask);
    struct stat info = {};
    EXPECT_TRUE(::stat(nested.c_str(), &info) == 0 && (info.st_mode & 0777) == 0640);
    EXPECT_TRUE(::stat(in("new").c_str(), &info) == 0 && (info.st_mode & 0777) == 0750);
    EXPECT_EQ(fileText(nested).rfind("<?<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>?>", 0),
              0U);
    std::filesystem::rename(nested, file);
    EXPECT_EQ(stored(), (Values{{"a/k", odd}, {"b/k", "1"}}));
    EXPECT_EQ(::sem_unlink(mutex.c_str()), -1); // no name is left behind

    // Saving what is there changes nothing from the second time on.
    std::string texts[3];
    for (std::string& text : texts) {
        OrbuSettings same(false);
        EXPECT_TRUE(same.open(file.c_str(), false));
        same.setData("b", "k", "1");
        same.save(file.c_str());
        text = fileText(file);
    }
    EXPECT_EQ(texts[1], texts[2]);

    // Two objects, read before either saves; a shorter text follows a longer one.
    OrbuSettings one(false);
    OrbuSettings other(false);
    EXPECT_TRUE(one.open(file.c_str(), false) && other.open(file.c_str(), false));
    one.setData("a", "k", "2");
    one.setData("c", "one", "3");
    other.setData("c", "other", "4");
    other.removeData("b", "k");
    for (int round = 0; round < 2; ++round) {
        EXPECT_FALSE(one.save(file.c_str()) || other.save(file.c_str()));
        EXPECT_EQ(stored(), (Values{{"a/k", "2"}, {"c/one", "3"}, {"c/other", "4"}}));
    }
    EXPECT_EQ(fileText(file).find('\0'), std::string::npos);

    // The last value of the store cannot go.
    put(settings(section("a", entry("k", "v"))));
    EXPECT_TRUE(one.open(file.c_str(), false) && one.removeData("a", "k"));
    EXPECT_FALSE(one.save(file.c_str()));
    EXPECT_EQ(stored(), (Values{{"a/k", "v"}}));

    EXPECT_EQ(::chmod(file.c_str(), 0600) + ::chmod(in("new").c_str(), 0700), 0);
    int const fd = ::open(file.c_str(), O_RDONLY);
    EXPECT_TRUE(private_settings_open_to_all(fd, in("new").c_str()));
    EXPECT_FALSE(private_settings_open_to_all(fd, in("none").c_str()) ||
                 private_settings_open_to_all(-1, ""));
    ::close(fd);
    EXPECT_TRUE(::stat(file.c_str(), &info) == 0 && (info.st_mode & 0777) == 0666);
    EXPECT_TRUE(::stat(in("new").c_str(), &info) == 0 && (info.st_mode & 0777) == 0777);
}

TEST_F(Settings, MergesByElement) {
    struct {
        std::string before;
        bool remove; // else set a/k to "new"
        std::string after;
    } const rows[] = {
        {section("a", entry("k", "<b/>")), false, section("a", entry("k", "<b/>"))},
        {section("a", entry("k", "")), false, section("a", "<Data Key=\"k\"/>" + entry("k", "new"))},
        {section("a", entry("k", "old") + entry("k", "twice")), false,
         section("a", entry("k", "new") + entry("k", "twice"))},
        {section("a", entry("k", "old") + "<!--c-->") + section("b", entry("k", "x")), true,
         section("a", "<!--c-->") + section("b", entry("k", "x"))},
        {section("a", entry("k", "1")) + section("a", entry("k", "2")), true, section("a", entry("k", "2"))},
        {section("a/b", entry("c", "1")) + section("b", entry("c", "2") + entry("k", "3")), true,
         section("a/b", entry("c", "1")) + section("b", entry("c", "2") + entry("k", "3"))},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(row.before);
        OrbuSettings store(false);
        EXPECT_TRUE(store.parse(settings(row.before).c_str(), false));
        EXPECT_TRUE(row.remove ? store.removeData("a", "k") || true : store.setData("a", "k", "new"));
        EXPECT_FALSE(store.save(file.c_str()));
        std::string text = fileText(file);
        text.erase(0, text.find("<OrbuSettings>"));
        std::erase(text, '\n');
        for (auto at = text.find("    "); at != std::string::npos; at = text.find("    ")) {
            text.erase(at, 4);
        }
        EXPECT_EQ(text, settings(row.after));
    }
}

// Elements that are gone are not found again, in a store without a file to read anew.
TEST_F(Settings, ForgetsDeletedElements) {
    OrbuSettings store(false);
    ASSERT_TRUE(store.parse(settings(section("a", entry("k", "1") + entry("l", "2"))).c_str(), false));
    store.setData("a", "k", "3");
    store.setData("b", "k", "4");
    store.removeData("a", "l");
    store.save(file.c_str());
    EXPECT_EQ(stored(), (Values{{"a/k", "3"}, {"b/k", "4"}}));
    EXPECT_TRUE(store.removeData("a", "k"));
    for (int round = 0; round < 2; ++round) {
        store.save(file.c_str());
        EXPECT_EQ(stored(), (Values{{"b/k", "4"}}));
    }
    store.setData("a", "l", "5");
    store.setData("a", "k", "6");
    store.save(file.c_str());
    EXPECT_EQ(stored(), (Values{{"a/k", "6"}, {"a/l", "5"}, {"b/k", "4"}}));
}

TEST_F(Settings, ProgrammersErrorsStopTheProcess) {
    auto const dies = [](auto action, std::string const& function, std::string const& expression) {
        std::string pattern;
        for (char const c : function + ": assertion \"" + expression + "\" failed, OrbuSettings:") {
            pattern +=
                std::string("().|!").find(c) != std::string::npos ? std::string("\\") + c : std::string(1, c);
        }
        EXPECT_DEATH(action(), pattern);
    };
    OrbuSettings store(false);
    TStr value;
    std::map<TStr, TStr> found;
    std::string const both = "!name.isEmpty() && !key.isEmpty()";
    dies([&] { store.open("", false); }, "open", "!pathname.isEmpty()");
    dies([&] { store.parse("", false); }, "parse", "!xmlStr.isEmpty()");
    dies([&] { store.save("x"); }, "save", "_bIsLoaded && !outFile.isEmpty()");
    dies([&] { store.setData("a", "k", ""); }, "setData", both + " && !value.isEmpty()");
    dies([&] { store.getData("a", "", value); }, "getData", both);
    dies([&] { store.removeData("", "k"); }, "removeData", both);
    dies([&] { store.getSection("", found); }, "getSection", "!name.isEmpty()");
    dies([&] { store.removeSection(""); }, "removeSection", "!name.isEmpty()");
    ASSERT_TRUE(store.open(file.c_str(), false) && store.setData("a", "k/", "v"));
    dies([&] { store.getSection("a", found); }, "getSection", "!dataKey.isEmpty()");
    dies([&] { store.save(file.c_str()); }, "commit", "!sectionName.isEmpty() && !dataKey.isEmpty()");
}

TEST_F(Settings, FailedSaveLosesNothing) {
    put(settings(section("a", entry("k", "v"))));
    OrbuSettings store(false);
    ASSERT_TRUE(store.open(file.c_str(), false));
    store.setData("a", "big", std::string(10000, 'x').c_str());
    EXPECT_FALSE(store.save(in("none\nfile/x").c_str()) && std::filesystem::exists(in("none")));
    // A limit on the size of files stands for a disk that is full.
    struct rlimit before = {};
    ::getrlimit(RLIMIT_FSIZE, &before);
    struct rlimit limit = before;
    limit.rlim_cur = 4096;
    auto const handler = std::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    EXPECT_FALSE(store.save(file.c_str()));
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(stored(), (Values{{"a/k", "v"}}));
    // A file that became unreadable fails the save and leaves the object unloaded, with its changes.
    put("<broken");
    EXPECT_FALSE(store.save(file.c_str()));
    EXPECT_EQ(fileText(file), "<broken");
    put(settings(""));
    EXPECT_TRUE(store.open(file.c_str(), true));
    EXPECT_FALSE(store.save(file.c_str()));
    EXPECT_EQ(stored().count("a/big"), 1U);
}

// Two processes that save, and this one that reads: what is in the file is whole at any time, and the last
// writer's keys are all there in the end. The other's may have been overwritten.
TEST_F(Settings, TwoWritersAndAReader) {
    constexpr int keys = 40;
    auto const write = [&](std::string const& name) {
        OrbuSettings store(false);
        bool ready = false;
        for (int i = 0; i < keys; ++i) {
            do { // again when it met the file that the other has made and not written yet
                ready = store.open(file.c_str(), i > 0);
            } while (!ready);
            store.setData(name.c_str(), std::to_string(i).c_str(), std::string(100, 'v').c_str());
            store.save(file.c_str());
        }
    };
    pid_t writers[2] = {};
    for (int i = 0; i < 2; ++i) {
        writers[i] = ::fork();
        if (writers[i] == 0) {
            write("writer" + std::to_string(i));
            ::_exit(0);
        }
    }
    int running = 2;
    bool made = false;
    while (running > 0) {
        Values const read = stored();
        bool const unreadable = read.count("unreadable") == 1;
        EXPECT_FALSE(made && unreadable) << read.at("unreadable");
        made = made || (!unreadable && !read.empty());
        int status = 0;
        for (pid_t& writer : writers) {
            if (writer > 0 && ::waitpid(writer, &status, WNOHANG) == writer) {
                EXPECT_EQ(status, 0);
                writer = 0;
                --running;
            }
        }
    }
    Values const left = stored();
    int whole = 0;
    for (std::string const name : {"writer0/", "writer1/"}) {
        int found = 0;
        for (int i = 0; i < keys; ++i) {
            found += static_cast<int>(left.count(name + std::to_string(i)));
        }
        whole += found == keys ? 1 : 0;
    }
    EXPECT_GE(whole, 1);
}

// Stops a saving process at one of its system calls and kills it there, for each of them in turn.
TEST_F(Settings, KilledBetweenAnyTwoCalls) {
    Values const shorter = {{"a/k", "v"}, {"a/l", "w"}};
    Values longer = shorter;
    longer["a/k"] = std::string(500, 'x');
    put(settings(section("a", entry("k", "v") + entry("l", "w"))));
    int seenLonger = 0;
    int kills = 0;
    for (bool finished = false; !finished; ++kills) {
        std::string const value = stored().at("a/k") == "v" ? longer["a/k"] : "v";
        pid_t const child = ::fork();
        if (child == 0) {
            OrbuSettings store(false);
            store.open(file.c_str(), false);
            store.setData("a", "k", value.c_str());
            if (::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) != 0) {
                ::_exit(2);
            }
            std::raise(SIGSTOP);
            store.save(file.c_str());
            ::_exit(0);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        if (WIFEXITED(status) && WEXITSTATUS(status) == 2) {
            GTEST_SKIP() << "this system does not let a process trace another";
        }
        for (int calls = 0; calls <= kills && !finished; ++calls) {
            ASSERT_EQ(::ptrace(PTRACE_SYSCALL, child, nullptr, nullptr), 0);
            ASSERT_EQ(::waitpid(child, &status, 0), child);
            finished = WIFEXITED(status);
        }
        if (!finished) {
            ASSERT_GT(child, 1);
            ::kill(child, SIGKILL);
            ::waitpid(child, &status, 0);
        }
        ::sem_unlink(mutex.c_str()); // the dead may hold it
        Values const left = stored();
        EXPECT_TRUE(left == shorter || left == longer) << "killed at stop " << kills << "\n"
                                                       << fileText(file);
        seenLonger += left == longer ? 1 : 0;
    }
    EXPECT_GT(kills, 20);
    EXPECT_GT(seenLonger, 0);
}

} // namespace
