#include "plainText.h"
#include "support/files.h"
#include "texts.h"

namespace {

class TextsTest : public PlaceTest {
protected:
    std::string write(std::string const& runtime, std::string const& locale,
                      std::string const& strings) const {
        make(runtime + "/" + locale + "/OrbuIntRes.xml",
             "<ORBUSTRINGTABLE>" + strings + "</ORBUSTRINGTABLE>");
        return in(runtime);
    }
};

TEST_F(TextsTest, WordsComeFromTheNearestPlaceThatHasThem) {
    std::string const inForce =
        write("in-force", "de_DE", R"(<STRING ID="ok"><CAPTION>Gut</CAPTION></STRING>)");
    std::string const own =
        write("own", "de_DE",
              R"(<STRING ID="ok"><CAPTION>OK</CAPTION></STRING>)"
              R"(<STRING ID="close"><NOTE/></STRING><STRING ID="close"><CAPTION>Zu</CAPTION></STRING>)"
              R"(<STRING ID="retry"><CAPTION></CAPTION></STRING>)");
    write("own", "en_US", R"(<STRING ID="retry"><CAPTION>Again</CAPTION></STRING>)");
    write("own", "fr_FR", "<STRING");
    Texts texts({inForce, own, in("nowhere")});
    EXPECT_EQ(texts.get("de_DE", "ok"), "Gut");
    EXPECT_EQ(texts.get("DE-de", "close"), "Zu") << "an entry without a text does not answer";
    EXPECT_EQ(texts.get("de_DE", "retry"), "Again");
    EXPECT_EQ(texts.get("en_CA", "retry"), "Again");
    EXPECT_EQ(texts.get("fr_FR", "retry"), "Again") << "the file is damaged";
    EXPECT_EQ(texts.get("../own", "retry"), "Again") << "no locale leads out of the folder";
    EXPECT_EQ(texts.get("de_DE", "cancel"), "Cancel");
    EXPECT_EQ(texts.get("", "no such id"), "");
}

TEST_F(TextsTest, DirectionIsTheLanguages) {
    for (char const* locale : {"ar_EG", "he-IL", "FA_IR", "ar", "ckb_IQ"}) {
        EXPECT_TRUE(isRightToLeft(locale)) << locale;
    }
    for (char const* locale : {"en_US", "", "arn_CL", "_ar"}) {
        EXPECT_FALSE(isRightToLeft(locale)) << locale;
    }
}

TEST(PlainText, IsCutBetweenCharactersAndAlwaysValid) {
    EXPECT_EQ(shortText("häuser", 6), "häuser");
    EXPECT_EQ(shortText("häuser", 2), "hä…");
    EXPECT_EQ(shortText("\xff\xfe", 5), "\uFFFD\uFFFD");
    EXPECT_EQ(shortText(std::string(1 << 20, '\xff'), 2), "\uFFFD\uFFFD…");
    EXPECT_EQ(shortText("𝄞𝄞𝄞", 3), "𝄞𝄞𝄞");
    EXPECT_EQ(validText("a\xc3"), "a\uFFFD");
    EXPECT_EQ(oneLine("one\r\ntwo\x7f\u2028\u0085.", 20), "one  two   .");
    EXPECT_EQ(shortLines("aä bc def\n12 34 5678", 6), "aä bc \ndef\n12 34 \n5678");
    EXPECT_EQ(shortLines("ääääää\nab", 4), "ääää\nää\nab");
    EXPECT_EQ(shortLines("", 4), "");
}

} // namespace
