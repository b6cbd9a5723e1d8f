// Files of a test's own, and waiting for what others do with them.
#pragma once

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include <gtest/gtest.h>

// True as soon as `condition` holds, false when it has not come true within the limit.
template <typename Condition>
bool eventually(Condition condition, std::chrono::milliseconds limit = std::chrono::seconds(30)) {
    for (auto const end = std::chrono::steady_clock::now() + limit; !condition();) {
        if (std::chrono::steady_clock::now() >= end) {
            return condition();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

inline bool fileExists(std::string const& path) { return ::access(path.c_str(), F_OK) == 0; }

// Kind and permissions as stat(2) has them, but for the bit that folders inherit; 0 when there is none.
inline mode_t modeOf(std::string const& path) {
    struct stat info = {};
    return ::stat(path.c_str(), &info) == 0 ? info.st_mode & ~mode_t{S_ISGID} : 0;
}

inline std::string fileText(std::string const& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

inline void writeFile(std::string const& path, std::string const& text) { std::ofstream(path) << text; }

// A directory for each test, gone afterwards; the current directory and the variables are then what they
// were.
class PlaceTest : public ::testing::Test {
protected:
    PlaceTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "orbuXXXXXX").string();
        mPlace = ::mkdtemp(pattern.data());
    }
    ~PlaceTest() override {
        restoreVariables();
        std::filesystem::current_path(mBefore);
        std::filesystem::remove_all(mPlace);
    }

    std::string in(std::string const& name) const { return mPlace + "/" + name; }

    // An executable file, with the directories above it.
    std::string make(std::string const& name, std::string const& text = {}) const {
        std::filesystem::create_directories(std::filesystem::path(in(name)).parent_path());
        writeFile(in(name), text);
        std::filesystem::permissions(in(name), std::filesystem::perms::owner_all);
        return in(name);
    }

    using Value = std::optional<std::string>; // of a variable, if it is set

    // Until the end of the test.
    void setVariable(std::string const& name, Value const& value) {
        char const* const former = std::getenv(name.c_str());
        mVariables.emplace_back(name, former != nullptr ? Value(former) : Value());
        assign(name, value);
    }
    void restoreVariables() {
        for (; !mVariables.empty(); mVariables.pop_back()) {
            assign(mVariables.back().first, mVariables.back().second);
        }
    }

    std::string mPlace;
    std::filesystem::path const mBefore = std::filesystem::current_path();

private:
    static void assign(std::string const& name, Value const& value) {
        value ? ::setenv(name.c_str(), value->c_str(), 1) : ::unsetenv(name.c_str());
    }

    std::vector<std::pair<std::string, Value>> mVariables; // with their former values
};
