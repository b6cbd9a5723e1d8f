// What the tests of files and processes share.
#pragma once

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include <gtest/gtest.h>

// True as soon as `condition` holds, false when it has not come true within half a minute.
template <typename Condition>
bool eventually(Condition condition) {
    auto const limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > limit) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

inline std::string fileText(std::string const& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

// A directory for each test, gone afterwards; the current directory is then what it was.
class PlaceTest : public ::testing::Test {
protected:
    PlaceTest() {
        std::string pattern = (std::filesystem::temp_directory_path() / "orbuXXXXXX").string();
        mPlace = ::mkdtemp(pattern.data());
    }
    ~PlaceTest() override {
        std::filesystem::current_path(mBefore);
        std::filesystem::remove_all(mPlace);
    }

    std::string in(std::string const& name) const { return mPlace + "/" + name; }

    // An executable file, with the directories above it.
    std::string make(std::string const& name, std::string const& text = {}) const {
        std::filesystem::create_directories(std::filesystem::path(in(name)).parent_path());
        std::ofstream(in(name)) << text;
        std::filesystem::permissions(in(name), std::filesystem::perms::owner_all);
        return in(name);
    }

    std::string mPlace;
    std::filesystem::path const mBefore = std::filesystem::current_path();
};
