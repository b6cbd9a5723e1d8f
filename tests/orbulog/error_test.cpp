#include "logSupport.h"

#include "orbulog/orbuIntError.h"
#include "orbulog/orbuLogger.h"

namespace {

using ::testing::ElementsAre;

constexpr char kTable[] = R"(<?xml version="1.0"?><ERRORTABLES>
<TABLE VENDORID="x"><NAME>No number</NAME></TABLE><TABLE VENDORID="4294967303"><NAME>Too large</NAME></TABLE>
<TABLE VENDORID="7"><ERROR CODE="12"><DESCRIPTION>Disk full</DESCRIPTION></ERROR><ERROR CODE="y"/>
  <ERROR CODE="13"/><ERROR CODE="14"><DESCRIPTION/></ERROR><ERROR CODE="12"><DESCRIPTION>again</DESCRIPTION></ERROR>
  <ERROR/><ERROR CODE="15"><DESCRIPTION>hidden</DESCRIPTION></ERROR></TABLE>
<TABLE VENDORID="7"><NAME>Runtime</NAME><ERROR CODE="16"><DESCRIPTION>second table</DESCRIPTION></ERROR></TABLE>
<TABLE VENDORID="1"><NAME>Host</NAME><ERROR CODE="12"><DESCRIPTION>No connection</DESCRIPTION></ERROR></TABLE>
<TABLE><NAME>Unnumbered</NAME></TABLE>
<TABLE VENDORID="8"><NAME>Hidden</NAME><ERROR CODE="1"><DESCRIPTION>hidden</DESCRIPTION></ERROR></TABLE>
</ERRORTABLES><ERRORTABLES/>)";

class ErrorTable : public LogTest {
protected:
    std::string path() const { return folder + "/table.xml"; }
};

TEST_F(ErrorTable, FindsWords) {
    writeFile(path(), kTable);
    OrbuErrorTable table(path().c_str());
    EXPECT_EQ("", shown(table.GetVendorName(7)));
    ASSERT_TRUE(table.Load());
    std::tuple<int, char const*, int, char const*> const cases[] = {
        {7, "Runtime", 12, "Disk full"}, // the name is in another table than the words
        {7, "Runtime", 13, ""},          // no words
        {7, "Runtime", 14, ""},          // empty words
        {7, "Runtime", 15, ""},          // behind an error without number
        {7, "Runtime", 16, ""},          // in a second table
        {1, "Host", 12, "No connection"},
        {8, "", 1, ""}, // behind a table without number
        {0, "", 0, ""},
        {-1, "", -1, ""},
    };
    for (auto const& [vendor, name, status, words] : cases) {
        EXPECT_EQ(name, shown(table.GetVendorName(vendor)));
        EXPECT_EQ(words, shown(table.GetErrorDescription(vendor, status))) << vendor << " " << status;
    }
    EXPECT_EQ("", shown(table.GetVendorErrorDescription(nullptr, 1)));
    std::string all;
    auto const collect = [](int status, TStr const& words, void* to) {
        *static_cast<std::string*>(to) += std::to_string(status) + "=" + shown(words) + ";";
    };
    EXPECT_EQ(4, table.ForEachError(7, collect, &all));
    EXPECT_EQ("12=Disk full;13=;14=;12=again;", all);
}

TEST_F(ErrorTable, AnswersNothingForWhatIsNoTable) {
    std::string const whole = kTable;
    std::string deep;
    for (int i = 0; i < 100000; ++i) {
        deep += "<TABLE VENDORID=\"7\">";
    }
    std::pair<std::string, bool> const cases[] = {
        {"", false},
        {"no XML", false},
        {whole.substr(0, whole.size() / 2), false},
        {deep, false},
        {std::string(1000, '\0') + whole, false},
        {"<OTHER/>", true},
        {"<ERRORTABLES><TABLE VENDORID='7'/></ERRORTABLES>", true},
        {"<ERRORTABLES>&#xFFFF;<TABLE "
         "VENDORID='99999999999999999999'><NAME>\xFF\xFE</NAME></TABLE></ERRORTABLES>",
         true},
        {"<!DOCTYPE a [<!ENTITY b \"bb\"><!ENTITY c \"&b;&b;\">]><ERRORTABLES>&c;</ERRORTABLES>", true},
    };
    for (auto const& [text, loads] : cases) {
        writeFile(path(), text);
        OrbuErrorTable table(path().c_str());
        EXPECT_EQ(loads, table.Load()) << text.substr(0, 60);
        EXPECT_EQ("", shown(table.GetVendorName(7)));
        EXPECT_EQ("", shown(table.GetErrorDescription(7, 12)));
    }
    for (std::string const& name : {std::string(), folder, folder + "/none"}) {
        OrbuErrorTable table(name.c_str());
        EXPECT_FALSE(table.Load());
        EXPECT_EQ("", shown(table.GetVendorName(7)));
    }
    // A table that was good and cannot be loaded again answers no more.
    writeFile(path(), whole);
    OrbuErrorTable table(path().c_str());
    ASSERT_TRUE(table.Load());
    table.SetPathName("/nowhere");
    EXPECT_EQ("Host", shown(table.GetVendorName(1)));
    EXPECT_FALSE(table.Load());
    EXPECT_EQ("", shown(table.GetVendorName(1)));
}

class ErrorReport : public LogTest {
protected:
    // The lines of one report, behind their section, without the first ones.
    std::vector<std::string> report(OrbuErrorBase const& error, long first = 0) {
        std::string const path = folder + "/general.log";
        OrbuLogger logger(path.c_str());
        logger.startLogging();
        logger.log(error);
        auto lines = linesOf(path);
        for (auto& line : lines) {
            EXPECT_EQ(0u, line.find(shown(logger.getHeader()) + "\t"));
            line.erase(0, line.find('\t') + 1);
        }
        std::remove(path.c_str());
        lines.erase(lines.begin(), lines.begin() + first);
        return lines;
    }
};

TEST_F(ErrorReport, TellsNumbersWithoutTable) {
    OrbuErrorBase error(Orbu::VendorOrbuRT, 12, "/a/b/source", 42, "31.0.9.0", "cannot read %1");
    auto lines = report(error);
    ASSERT_EQ(6u, lines.size());
    char host[256] = {};
    ::gethostname(host, sizeof host - 1);
    EXPECT_EQ(std::string("ComputerName=") + host, lines[1]);
    std::string const release = fileText("/etc/os-release");
    EXPECT_TRUE(release.empty() || release.find('"' + lines[2].substr(3) + '"') != std::string::npos);
    lines.erase(lines.begin() + 1, lines.begin() + 3);
    EXPECT_THAT(lines, ElementsAre("Reason=Fatal error", "File=source,Line=42", "VendorID=7",
                                   "VendorError=12 [cannot read %1]"));

    error.setReason("Out of luck");
    EXPECT_EQ("Reason=Out of luck", report(error)[0]);
    error.clear();
    EXPECT_THAT(report(error, 2), ElementsAre("File=,Line=-1", "VendorID=0", "VendorError=0"));
    error.dumpTechSupport(nullptr);
}

TEST_F(ErrorReport, TellsWordsFromTheTable) {
    useErrorTable(kTable);
    OrbuErrorBase const error(Orbu::VendorOrbuRT, 12, "/a/b/", 1, "31.0.9.0", "cannot read");
    EXPECT_THAT(report(error, 3),
                ElementsAre("File=/a/b/,Line=1", "VendorID=7 [Runtime]",
                            "VendorError=12 [Disk full] [cannot read]", "Runtime=31.0.9.0"));

    // The host layer's own error, and one that another component caused.
    EXPECT_THAT(report(COrbuIntError(Orbu::VendorOrbuInt, 12, "s", 1, ""), 4),
                ElementsAre("OrbuIntError=12 [No connection]"));
    EXPECT_THAT(report(COrbuIntError(Orbu::VendorOrbuRT, 12, "s", 1, "2"), 4),
                ElementsAre("OrbuIntError=12 [No connection]", "VendorID=7 [Runtime]",
                            "VendorError=12 [Disk full]", "Runtime=2"));
}

} // namespace
