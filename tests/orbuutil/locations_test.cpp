// Where things are: the custom environment file, the folders with and without one, the library search path
// and the search below the program's folder.
#include "orbuutil/orbuMacFileSystem.h"
#include "orbuutil/orbuUtil.h"
#include "orbuutil/orbuUtilCustomEnv.h"
#include "orbuutil/platformBundlePrivate.h"
#include "support/customEnv.h"
#include "support/files.h"
#include "support/texts.h"

#include <sys/stat.h>

namespace {

using support::customEnv, support::key, support::platform, support::text;

constexpr char kThin[] = "VEXMOOR_ORBU_THINCLIENT_ENV";
constexpr char kCustom[] = "VEXMOOR_ORBU_CUSTOM_ENV";

std::string location(OrbuUtil::OrbuFileType type, char const* locale = "") {
    return text(OrbuUtil::getOrbuFileLocation(type, locale));
}

// Without any variable that counts; the custom environment is what the environment says.
class Locations : public PlaceTest {
protected:
    Locations() {
        for (char const* const name :
             {kThin, kCustom, "HOME", "LD_LIBRARY_PATH", "TMPDIR", "TMP", "TEMP", "TEMPDIR"}) {
            setVariable(name, {});
        }
        gCustomEnvMgr.loadConfigFile();
    }
    ~Locations() override {
        restoreVariables();
        gCustomEnvMgr.loadConfigFile();
    }

    // Puts a file in force.
    void use(std::string const& platforms) {
        setVariable(kCustom, make("env.xml", customEnv(platforms)));
        ASSERT_EQ(gCustomEnvMgr.loadConfigFile(), 0);
    }

    std::string expanded(std::string const& value) {
        use(platform(key("K", value)));
        ::testing::internal::CaptureStdout();
        std::string const result = text(gCustomEnvMgr.getStringValue("K"));
        mPrinted = ::testing::internal::GetCapturedStdout();
        return result;
    }

    std::string mPrinted;
};

TEST_F(Locations, DefaultsWithoutAFile) {
    EXPECT_EQ(OrbuUtil::loadCustomEnvSettings(), 1);
    std::string const framework = "/Library/Frameworks/Orbu.framework/Versions/31a/";
    EXPECT_EQ(location(OrbuUtil::CommonBin), "/Applications/Vexmoor/Orbu/R31/");
    EXPECT_EQ(location(OrbuUtil::CommonLib), framework + "Libraries/");
    EXPECT_EQ(location(OrbuUtil::CommonLocalizedData, "DE-de"), framework + "Resources/de_DE/");
    EXPECT_EQ(location(OrbuUtil::CommonData, "de_DE"), framework + "Resources/");
    EXPECT_EQ(location(OrbuUtil::LogFile), "/var/log/Vexmoor/Orbu/R31/");
    EXPECT_EQ(location(OrbuUtil::ErrorTable), framework + "Resources/");
    EXPECT_EQ(location(static_cast<OrbuUtil::OrbuFileType>(7)), "");
    EXPECT_EQ(text(OrbuUtil::getOrbuAPIFileLocationOverride(OrbuUtil::ApplicationErrorLog, "")), "");

    EXPECT_EQ(location(OrbuUtil::UserSettings), "");
    for (auto const& [home, folder] :
         {std::pair("", "/Orbu/"), {"/", "/Orbu/"}, {"/home/a//", "/home/a//Orbu/"}}) {
        setVariable("HOME", home);
        EXPECT_EQ(location(OrbuUtil::UserSettings), folder);
    }
}

TEST_F(Locations, AFileInForceReplacesTheDefaults) {
    ::setenv("HOME", "/home/a", 1);
    use(platform(key("ORBU_COMMON_BIN_LOCATION", "/bin/here") + key("ORBU_COMMON_LIB_LOCATION", "/nowhere") +
                 key("ORBU_USER_SETTINGS_FILE_LOCATION", "C:\\settings") +
                 key("ORBU_APPLICATION_ERROR_LOG_FILE", "/a/error.log")));
    EXPECT_TRUE(OrbuUtil::hasCustomSettings());
    EXPECT_EQ(location(OrbuUtil::CommonBin), "/bin/here/");
    EXPECT_EQ(location(OrbuUtil::UserSettings), "C:\\settings\\");
    EXPECT_EQ(location(OrbuUtil::LogFile), "");
    EXPECT_EQ(text(OrbuUtil::getOrbuAPIFileLocationOverride(OrbuUtil::ApplicationErrorLog, "")),
              "/a/error.log");
    EXPECT_EQ(text(OrbuUtil::getOrbuAPIFileLocationOverride(OrbuUtil::ApplicationResource, "")), "");
    // Without its own key the framework is taken away, and keys of the four kinds on it have no effect.
    for (auto const type :
         {OrbuUtil::CommonLib, OrbuUtil::CommonLocalizedData, OrbuUtil::CommonData, OrbuUtil::ErrorTable}) {
        EXPECT_EQ(location(type, "de_DE"), "");
    }

    use(platform(key("ORBU_COMMON_LIB_LOCATION", "/nowhere") + key("ORBU_ERROR_TABLE_LOCATION", "/nowhere") +
                 key("ORBU_MAC_FRAMEWORK_LOCATION", "/moved/")));
    EXPECT_EQ(location(OrbuUtil::CommonLib), "/moved/Orbu.framework/Versions/31a/Libraries/");
    EXPECT_EQ(location(OrbuUtil::ErrorTable), "/moved/Orbu.framework/Versions/31a/Resources/");
}

TEST_F(Locations, LoadResults) {
    std::string const good = make("good.xml", "<ORBUCUSTOMENV/>");
    ASSERT_EQ(::mkfifo(in("fifo").c_str(), 0600), 0);
    struct {
        Value thin, custom;
        int result;
    } const cases[] = {
        {{}, {}, 1},
        {{}, good, 0},
        {good, {}, 0},
        {in("missing"), good, 2}, // the other one is not tried
        {"", good, 2},
        {{}, "", 3},
        {{}, mPlace, 3}, // a folder
        {{}, in("fifo"), 3},
        {{}, make("cut.xml", "<ORBUCUSTOMENV><PLATFORM"), 3},
        {make("empty.xml"), {}, 2},
    };
    for (auto const& at : cases) {
        setVariable(kThin, at.thin);
        setVariable(kCustom, at.custom);
        SCOPED_TRACE(at.thin.value_or("-") + " " + at.custom.value_or("-"));
        EXPECT_EQ(gCustomEnvMgr.loadConfigFile(), at.result);
        EXPECT_EQ(OrbuUtil::loadCustomEnvSettings(), at.result);
        EXPECT_EQ(OrbuUtil::hasCustomSettings(), at.result == 0);
        EXPECT_EQ(OrbuUtil::isThinClient(), at.result == 0 && at.thin.has_value());
    }
}

TEST_F(Locations, TheFirstQuestionLoads) {
    use(platform(key("K", "v")));
    COrbuUtilCustomEnv fresh;
    EXPECT_EQ(fresh.loadStatus(), -1);
    EXPECT_EQ(text(fresh.getStringValue("")), "");
    EXPECT_TRUE(fresh.isLoadPending());
    EXPECT_EQ(text(fresh.getStringValue("K")), ""); // the call that loads
    EXPECT_EQ(text(fresh.getStringValue("K")), "v");

    // Later changes count for nothing until somebody loads again.
    ::unsetenv(kCustom);
    EXPECT_EQ(text(fresh.getStringValue("K")), "v");
    EXPECT_EQ(fresh.loadConfigFile(), 1);
    EXPECT_EQ(text(fresh.getStringValue("K")), "");
}

TEST_F(Locations, WhichElementCounts) {
    use("<PLATFORM>" + key("K", "no OS") + "</PLATFORM>" + platform(key("K", "other"), "mac") +
        platform("<KEY><STRING>no ID</STRING></KEY><KEY ID=\"K\"/>" + key("K", "first") + key("K", "second") +
                 key("L", "kept") + key("M", "before")) +
        platform(
            "<KEY ID=\"L\"><STRING/></KEY><KEY ID=\"M\"><STRING>last</STRING><STRING>not</STRING></KEY>"));
    EXPECT_EQ(text(gCustomEnvMgr.getStringValue("K")), "first");
    EXPECT_EQ(text(gCustomEnvMgr.getStringValue("L")), "kept"); // an element without text takes nothing away
    EXPECT_EQ(text(gCustomEnvMgr.getStringValue("M")), "last");
    EXPECT_EQ(text(gCustomEnvMgr.getStringValue("k")), "");
    // A second root is none.
    use("</ORBUCUSTOMENV><ORBUCUSTOMENV>" + platform(key("K", "v")));
    EXPECT_EQ(text(gCustomEnvMgr.getStringValue("K")), "");
}

TEST_F(Locations, Expansion) {
    setVariable("ORBU_T", "/t");
    setVariable("ORBU_U", "\xC3\xBC\xC3\xBC$ORBU_T");
    setVariable("ORBU_E", "");
    auto const unknown = [](char const* name) {
        return "Environment variable " + std::string(name) + " could not be found\n";
    };
    struct {
        char const* value;
        std::string result, printed;
    } const cases[] = {
        {"plain", "plain", ""},
        {"$ORBU_T/x", "/t/x", ""},
        {"/a/$ORBU_T", "/a//t", ""},
        {"$ORBU_E", "", ""},
        {"/x$", "/x$", ""},
        {"$/x", "$/x", unknown("")},
        {"$ORBU_NO/x", "$ORBU_NO/x", unknown("ORBU_NO")},
        {"$ORBU_NO/$ORBU_T/", "$ORBU_NO//t/", unknown("ORBU_NO")},
        {"$ORBU_T$ORBU_T", "/t$ORBU_T", unknown("ORBU_T$ORBU_T")},
        // What was put in at the "$" itself is not looked at again, what stands behind it is.
        {"$ORBU_U/x", "\xC3\xBC\xC3\xBC/t/x", ""},
        // The first of several equal tokens is replaced, a part of a longer one as well.
        {"$ORBU_TX/$ORBU_T", "/tX/$ORBU_T", unknown("ORBU_TX")},
    };
    for (auto const& at : cases) {
        SCOPED_TRACE(at.value);
        EXPECT_EQ(expanded(at.value), at.result);
        EXPECT_EQ(mPrinted, at.printed);
    }
    // A variable that names itself comes to an end, and so do the lines about a long file's unknown ones.
    for (auto const& itself :
         {"$ORBU_T/" + std::string(60000, 'x') + "$ORBU_T/", std::string("$ORBU_T/$ORBU_T/")}) {
        setVariable("ORBU_T", itself);
        EXPECT_LT(expanded("$ORBU_T/").size(), 2u << 20);
    }
    expanded(std::string(1 << 20, '$'));
    EXPECT_LT(mPrinted.size(), 20u << 20);
    EXPECT_EQ(gCustomEnvMgr.findString("\xC3\xBC$a\xC3\xBC$", "$", 2), 4); // by characters
    EXPECT_EQ(gCustomEnvMgr.findString("", "", -1), -1);
}

TEST_F(Locations, LibrarySearchPath) {
    constexpr char variable[] = "LD_LIBRARY_PATH";
    std::string const bin = key("ORBU_COMMON_BIN_LOCATION", "/b");
    auto const framework = [](char const* folder) { return key("ORBU_MAC_FRAMEWORK_LOCATION", folder); };
    auto const after = [&](Value const& before) {
        setVariable(variable, before);
        OrbuUtil::setCustomEnvPathVars();
        return std::string(std::getenv(variable));
    };
    use(platform(bin + framework("/f/")));
    std::string const lib = "/f/Orbu.framework/Versions/31a/Libraries";
    for (auto const& there : {lib, lib + "/", lib + "/:/x", "/x:" + lib + ":/y", lib + "er:" + lib}) {
        EXPECT_EQ(after(there), there);
    }
    EXPECT_EQ(after({}), lib);
    EXPECT_EQ(after(""), lib);
    std::string const others[] = {"/x", lib + "/more:" + lib + "er",
                                  "/\xE9"}; // bytes come out as they went in
    for (auto const& before : others) {
        EXPECT_EQ(after(before), before + ":" + lib);
    }
    EXPECT_EQ(after("/x:"), "/x:" + lib);
    use(platform(bin + framework("/")));
    EXPECT_EQ(after("/x"), "/x:" + lib.substr(2));
    // With the default framework, without a folder of programs, and without a file it stays as it is.
    for (auto const& keys : {bin + framework("/Library/Frameworks/"), framework("/f")}) {
        use(platform(keys));
        EXPECT_EQ(after("/x"), "/x");
    }
    setVariable(kCustom, {});
    gCustomEnvMgr.loadConfigFile();
    EXPECT_EQ(after("/x"), "/x");
}

TEST_F(Locations, TemporaryFolder) {
    EXPECT_EQ(text(OrbuUtil::getTempFolder()), "/tmp/");
    setVariable("TEMPDIR", mPlace);
    EXPECT_EQ(text(OrbuUtil::getTempFolder()), mPlace + "/");
    setVariable("TMPDIR", in("missing"));
    setVariable("TMP", mPlace + "/");
    EXPECT_EQ(text(OrbuUtil::getTempFolder()), mPlace + "//");
}

TEST_F(Locations, SearchesBelowTheProgram) {
    std::string const root = private_platform_bundle_path();
    ASSERT_EQ(root, std::filesystem::read_symlink("/proc/self/exe").parent_path());
    std::string const place = root + "/orbu" + std::to_string(::getpid());
    std::string const name = "orbu" + std::to_string(::getpid()) + ".so";
    auto const put = [&](std::string const& folder) {
        std::filesystem::create_directories(place + "/" + folder);
        std::ofstream(place + "/" + folder + "/" + name) << "x";
    };
    EXPECT_EQ(OrbuMacFileSystem::searchDylibInsideBundle(nullptr), "");
    EXPECT_EQ(OrbuMacFileSystem::searchDylibInsideBundle(""), "");
    put("c");
    put("b/z");
    std::filesystem::create_directories(place + "/a/" + name); // a folder is no match
    std::filesystem::create_directory_symlink(place + "/b/z", place + "/a/link");
    EXPECT_EQ(OrbuMacFileSystem::searchDylibInsideBundle(name.c_str()), place + "/b/z/" + name);
    std::filesystem::permissions(place + "/b", std::filesystem::perms::none);
    // The superuser reads all the same.
    EXPECT_EQ(OrbuMacFileSystem::searchDylibInsideBundle(name.c_str()),
              place + (::geteuid() == 0 ? "/b/z/" : "/c/") + name);
    std::filesystem::permissions(place + "/b", std::filesystem::perms::owner_all);
    std::filesystem::remove_all(place);
    EXPECT_EQ(OrbuMacFileSystem::searchDylibInsideBundle(name.c_str()), "");
}

} // namespace
