#include "logSupport.h"

#include "orbulog/orbuDelimitedFile.h"

#include <sys/stat.h>
#include <unistd.h>

namespace {

using ::testing::MatchesRegex;
using Pairs = OrbuDelimitedFile::Pairs;
using Fields = OrbuDelimitedFile::Fields;

class DelimitedFile : public LogTest {
protected:
    std::string path() const { return folder + "/a log %1"; }
    std::string content() const { return fileText(path()); }
};

TEST_F(DelimitedFile, FormatsDatesAndTimes) {
    OrbuDelimitedFile const file("");
    EXPECT_EQ("2024/03/09", shown(file.formatDate(2024, 3, 9)));
    EXPECT_EQ("2024/0/09", shown(file.formatDate(2024, 0, 9)));
    EXPECT_EQ("7/-1/0", shown(file.formatDate(7, -1, 0)));
    EXPECT_EQ("00:09:10", shown(file.formatTime(0, 9, 10)));
    EXPECT_EQ("01:02:03:45", shown(file.formatTimeWMilliSecs(1, 2, 3, 45)));
    EXPECT_EQ("12:03:05:7", shown(file.formatTimeWMilliSecs(12, 3, 5, 7)));
    EXPECT_EQ("01:02:03:", shown(file.formatTimeWMilliSecs(1, 2, 3, -1)));
    EXPECT_EQ("d|t|p", shown(file.formatSection("d", "t", "p", "|")));
    EXPECT_EQ("", shown(file.formatSection("d", "", "p", "|")));
    EXPECT_EQ("", shown(file.formatKey("a", "b", "c")));
}

TEST_F(DelimitedFile, WritesNothingWithoutSectionOrName) {
    OrbuDelimitedFile file(path().c_str());
    EXPECT_FALSE(file.isCurrentSectionSet());
    EXPECT_FALSE(file.write("a", "b"));
    EXPECT_TRUE(fileExists(path()));
    EXPECT_FALSE(file.writeDebugLog({"a"}, ","));
    EXPECT_FALSE(file.append("", "a", "b"));
    file.updateCurrentSection(false);
    EXPECT_FALSE(file.write(Pairs()));
    EXPECT_FALSE(file.append("section", Pairs()));
    EXPECT_FALSE(file.writeDebugLog({}, ","));
    EXPECT_EQ("", content());

    OrbuDelimitedFile nameless("");
    nameless.updateCurrentSection(false);
    nameless.clearContents();
    EXPECT_FALSE(nameless.open(false));
    EXPECT_FALSE(nameless.write("a", "b"));
}

TEST_F(DelimitedFile, WritesLinesInBothShapes) {
    OrbuDelimitedFile file(path().c_str());
    file.updateCurrentSection(false);
    std::string const section = shown(file.getCurrentSection(OrbuDelimitedFile::kSpace));
    EXPECT_THAT(section, MatchesRegex("[0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} " +
                                      std::to_string(::getpid())));
    EXPECT_TRUE(file.write("a", "b"));
    EXPECT_TRUE(file.write("n", -5));
    EXPECT_TRUE(file.write(Pairs{{"z", "%1,x=y"}, {"a", "ä\xC3"}}));
    EXPECT_TRUE(file.append("mine", "k", "v"));
    EXPECT_TRUE(file.append("mine", Pairs{{"k", "1"}, {"k", "2"}}));
    EXPECT_TRUE(file.append("k", "v", true)); // a truth value: closed after it
    EXPECT_TRUE(file.writeDebugLog({"one", "%2"}, ","));
    std::string flat = section + ",one,%2,\n";
    std::replace(flat.begin(), flat.end(), ' ', ',');
    EXPECT_EQ(section + "\ta=b\n" + section + "\tn=-5\n" + section + "\tz=%1,x=y,a=ä\xC3\n" + "mine\tk=v\n" +
                  "mine\tk=1,k=2\n" + section + "\tk=v\n" + flat,
              content());
    file.updateCurrentSection(true);
    EXPECT_THAT(shown(file.getCurrentSection(",")),
                MatchesRegex(".*,[0-9]{2}:[0-9]{2}:[0-9]{2}:(0|[1-9][0-9]{0,2}),[0-9]+"));
}

TEST_F(DelimitedFile, OpensAppendsAndTruncates) {
    writeFile(path(), "old\n");
    OrbuDelimitedFile file(path().c_str());
    EXPECT_TRUE(file.open(false));
    EXPECT_TRUE(file.open(true)); // it is open: nothing happens
    EXPECT_EQ("old\n", content());
    EXPECT_TRUE(file.append("s", "a", "b"));
    writeFile(path(), content() + "other\n"); // somebody else, while it is open
    EXPECT_TRUE(file.append("s", "c", "d"));
    EXPECT_EQ("old\ns\ta=b\nother\ns\tc=d\n", content());

    file.setFilename(path().c_str()); // the same name: it stays open, so it still does not truncate
    EXPECT_TRUE(file.open(true));
    EXPECT_NE("", content());
    file.setFilename((folder + "/other").c_str());
    EXPECT_TRUE(file.append("s", "a", "b"));
    EXPECT_EQ("s\ta=b\n", fileText(folder + "/other"));

    file.setFilename(path().c_str());
    file.refresh();
    EXPECT_TRUE(file.open(true));
    EXPECT_EQ("", content());
    file.setFilename((folder + "/made").c_str());
    file.clearContents();
    EXPECT_TRUE(fileExists(folder + "/made"));
}

TEST_F(DelimitedFile, FailsWhereNothingCanBeWritten) {
    ASSERT_EQ(0, ::mkfifo((folder + "/fifo").c_str(), 0600));
    for (std::string const& name :
         {std::string("/dev/full"), folder, folder + "/none/log", folder + "/fifo"}) {
        OrbuDelimitedFile file(name.c_str());
        file.updateCurrentSection(true);
        EXPECT_FALSE(file.write("a", "b")) << name;
        EXPECT_FALSE(file.writeDebugLog({std::string(100000, 'x').c_str()}, ",")) << name;
    }
}

} // namespace
