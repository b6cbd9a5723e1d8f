#include "orbuint/orbuintResHandler.h"
#include "orbuint/orbuintSingletonOrder.h"
#include "orbulog/orbuLogger.h"
#include "orbuutil/orbuutilObjectManager.h"

#include "support/files.h"
#include "support/texts.h"

namespace {

// A folder for each test, and a handler that has loaded nothing.
class Resources : public PlaceTest {
protected:
    Resources() { COrbuUtilObjectManagerManager::cleanup(); }
    ~Resources() override { COrbuUtilObjectManagerManager::cleanup(); }

    void write(const std::string& text) const { make("\xC3\xA9/OrbuIntRes.xml", text); }
    static bool load(const std::string& from) {
        return COrbuIntResHandler::instance()->loadResourceFile(from.c_str());
    }
    static std::string text(const char* id) {
        return support::text(COrbuIntResHandler::instance()->getString(id));
    }

    const std::string folder = in("\xC3\xA9");
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
  <STRING ID="&amp;&#xE9;"><CAPTION> caf&#xE9; &amp; &lt;tea&gt;
 </CAPTION></STRING>
</ORBUSTRINGTABLE>
<ORBUSTRINGTABLE><STRING ID="second"><CAPTION>not read</CAPTION></STRING></ORBUSTRINGTABLE>)");
    ASSERT_TRUE(load(folder + "/"));
    const std::pair<const char*, const char*> rows[] = {
        {"ok", "OK"},   {"OK", ""},
        {"o", ""},      {"twice", "the later one"},
        {"none", ""},   {"", "nameless"},
        {"before", ""}, {"other", "any element counts"},
        {"second", ""}, {"&\xC3\xA9", " caf\xC3\xA9 & <tea>\n "}};
    for (auto const& [id, expected] : rows) {
        EXPECT_EQ(text(id), expected) << id;
    }
    EXPECT_TRUE(load("/nowhere")); // that file stays
    EXPECT_EQ(text("ok"), "OK");
    COrbuUtilObjectManagerManager::cleanup();
    EXPECT_EQ(text("ok"), ""); // another handler
}

TEST_F(Resources, TriesAgainAfterAFileThatDoesNotLoad) {
    EXPECT_FALSE(load(""));
    EXPECT_FALSE(load(folder)); // there is no file
    for (const char* bad : {"", "no xml", "<ORBUSTRINGTABLE><STRING ID='a'><CAPTION>A</CAP"}) {
        write(bad);
        EXPECT_FALSE(load(folder)) << bad;
        EXPECT_EQ(text("a"), "");
    }
    std::filesystem::remove(folder + "/OrbuIntRes.xml");
    std::filesystem::create_directory(folder + "/OrbuIntRes.xml");
    EXPECT_FALSE(load(folder));
    std::filesystem::remove(folder + "/OrbuIntRes.xml");

    write("<WRONG><STRING ID='a'><CAPTION>A</CAPTION></STRING></WRONG>"); // well-formed: that is the file now
    EXPECT_TRUE(load(folder));
    EXPECT_EQ(text("a"), "");
}

TEST(SingletonOrder, DestroysTheLogBeforeTheStringResources) {
    COrbuUtilObjectManagerManager::cleanup();
    COrbuIntSingletonOrder();
    COrbuIntSingletonOrder(); // a second one finds them made
    const auto* entry = COrbuUtilObjectManager::instance()->exit_info.registered_objects;
    EXPECT_EQ(entry->object, COrbuUtilSingleton<OrbuLogger>::singleton_);
    EXPECT_EQ(entry->next->object, COrbuUtilSingleton<COrbuIntResHandler>::singleton_);
    EXPECT_EQ(entry->next->next->next, nullptr);
}

} // namespace
