// A home of its own for each test, with no log enabled and no custom environment.
#pragma once

#include "orbuutil/orbuUtilCustomEnv.h"
#include "support/customEnv.h"
#include "support/processes.h"

#include <cstdlib>
#include <sstream>

#include <gmock/gmock.h>

class LogTest : public PlaceTest {
protected:
    LogTest() {
        ::setenv("HOME", home.c_str(), 1);
        for (char const* variable : {"ORBU_DEBUG_MODE", "ORBU_PERF_LOG", "VEXMOOR_ORBU_CUSTOM_ENV"}) {
            ::unsetenv(variable);
        }
        gCustomEnvMgr.loadConfigFile();
    }

    // Puts an error table where a logger looks for it.
    void useErrorTable(std::string const& xml) {
        std::string const resources = folder + "/Orbu.framework/Versions/31a/Resources";
        ASSERT_EQ(0, std::system(("mkdir -p " + resources).c_str()));
        writeFile(resources + "/OrbuErrorCodes.xml", xml);
        std::string const key = support::key("ORBU_MAC_FRAMEWORK_LOCATION", folder);
        writeFile(folder + "/env.xml", support::customEnv(support::platform(key)));
        ::setenv("VEXMOOR_ORBU_CUSTOM_ENV", (folder + "/env.xml").c_str(), 1);
        ASSERT_EQ(0, gCustomEnvMgr.loadConfigFile());
    }

    std::string debugLog() const { return home + "/Orbu/OrbuDebug.log"; }
    std::string perfLog() const { return home + "/Orbu/OrbuPerfLog.csv"; }

    static std::vector<std::string> linesOf(std::string const& path) {
        std::vector<std::string> lines;
        std::istringstream text(fileText(path));
        for (std::string line; std::getline(text, line);) {
            lines.push_back(line);
        }
        return lines;
    }

    std::string const& folder = mPlace;
    std::string const home = in("home"); // not made yet
};

inline std::string shown(TStr const& text) { return text.toUtf8() != nullptr ? text.toUtf8() : ""; }
