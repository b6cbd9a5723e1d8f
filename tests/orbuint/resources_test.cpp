#include "orbuint/orbuintResHandler.h"
#include "orbuutil/orbuutilObjectManager.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace {

// A folder for each test, and a handler that has loaded nothing.
class Resources : public testing::Test {
protected:
    Resources() {
        std::string pattern = (std::filesystem::temp_directory_path() / "orbu\xC3\xA9XXXXXX").string();
        folder = ::mkdtemp(pattern.data());
        COrbuUtilObjectManagerManager::cleanup();
    }
    ~Resources() override {
        COrbuUtilObjectManagerManager::cleanup();
        std::filesystem::remove_all(folder);
    }

    void write(const std::string& text) const { std::ofstream(folder + "/OrbuIntRes.xml") << text; }
    bool load() const { return COrbuIntResHandler::instance()->loadResourceFile(folder.c_str()); }
    static std::string text(const char* id) {
        const TStr found = COrbuIntResHandler::instance()->getString(id);
        return found.isNull() ? "(null)" : found.toUtf8();
    }

    std::string folder;
};

TEST_F(Resources, AnswersById) {
    EXPECT_EQ(text("ok"), "");
    write(R"(<?xml version="1.0" encoding="UTF-8"?>
<ORBUSTRINGTABLE>
  <OTHER ID="before"><CAPTION>not reached</CAPTION></OTHER>
  <STRING ID="ok"><NOTE>for the button</NOTE><CAPTION>OK</CAPTION><CAPTION>second</CAPTION></STRING>
  <STRING ID="twice"/>
  <STRING ID="twice"><CAPTION>the later one</CAPTION></STRING>
  <STRING ID="twice"><CAPTION>too late</CAPTION></STRING>
  <STRING ID="none"><CAPTION></CAPTION></STRING>
  <STRING ID="none"><CAPTION>hidden by the first</CAPTION></STRING>
  <STRING><CAPTION>nameless</CAPTION></STRING>
  <ANYTHING ID="other"><CAPTION>any element counts</CAPTION></ANYTHING>
  <STRING ID="&amp;&#xE9;"><CAPTION> caf)"
          "\xC3\xA9"
          R"( &amp; &lt;tea&gt;
 </CAPTION></STRING>
</ORBUSTRINGTABLE>
<ORBUSTRINGTABLE><STRING ID="second"><CAPTION>not read</CAPTION></STRING></ORBUSTRINGTABLE>)");
    ASSERT_TRUE(load());
    struct {
        const char *id, *text;
    } const rows[] = {{"ok", "OK"},
                      {"OK", ""},
                      {"o", ""},
                      {"twice", "the later one"},
                      {"none", ""},
                      {"", "nameless"},
                      {"before", ""},
                      {"other", "any element counts"},
                      {"&\xC3\xA9", " caf\xC3\xA9 & <tea>\n "},
                      {"second", ""}};
    for (auto const& row : rows) {
        EXPECT_EQ(text(row.id), row.text) << row.id;
    }
}

TEST_F(Resources, LoadsOnce) {
    COrbuIntResHandler* const handler = COrbuIntResHandler::instance();
    EXPECT_EQ(COrbuUtilSingleton<COrbuIntResHandler>::instance(), handler);
    write("<ORBUSTRINGTABLE><STRING ID='a'><CAPTION>A</CAPTION></STRING></ORBUSTRINGTABLE>");
    EXPECT_FALSE(handler->loadResourceFile(""));
    EXPECT_FALSE(handler->loadResourceFile(TStr::null));
    EXPECT_FALSE(handler->loadResourceFile((folder + "/missing").c_str()));
    EXPECT_TRUE(handler->loadResourceFile((folder + "/").c_str()));
    EXPECT_TRUE(handler->loadResourceFile("/nowhere"));
    EXPECT_TRUE(handler->loadResourceFile(""));
    EXPECT_EQ(text("a"), "A");
    COrbuUtilObjectManagerManager::cleanup();
    EXPECT_EQ(text("a"), ""); // another handler
    EXPECT_TRUE(load());
}

TEST_F(Resources, TriesAgainAfterAFileThatDoesNotLoad) {
    std::string deep;
    for (int i = 0; i < 100000; ++i) {
        deep += "<a>";
    }
    for (const std::string& bad :
         {std::string(), std::string("<ORBUSTRINGTABLE><STRING ID='a'><CAPTION>A</CAP"),
          std::string("no xml"), std::string("\0\0\0", 3), deep}) {
        write(bad);
        EXPECT_FALSE(load()) << bad.substr(0, 40);
        EXPECT_EQ(text("a"), "");
    }
    std::filesystem::remove(folder + "/OrbuIntRes.xml");
    std::filesystem::create_directory(folder + "/OrbuIntRes.xml");
    EXPECT_FALSE(load());
    std::filesystem::remove(folder + "/OrbuIntRes.xml");

    write("<WRONG><STRING ID='a'><CAPTION>A</CAPTION></STRING></WRONG>"); // well-formed: that is the file now
    EXPECT_TRUE(load());
    EXPECT_EQ(text("a"), "");
}

} // namespace
