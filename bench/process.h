// Helpers of the rows that measure whole processes.
#pragma once

#include <sys/types.h>

#include <functional>
#include <string>
#include <vector>

// CPU seconds that a process has used so far; 0 stands for this one.
double cpuSeconds(pid_t process);

double median(std::vector<double> values);

// A forked process that runs `body` and ends; ended and collected with the object.
class Child {
public:
    explicit Child(const std::function<void()>& body);
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child();

    pid_t pid() const { return mPid; }

private:
    pid_t mPid;
};

// A directory of its own under the temporary one; removed with everything in it.
class TemporaryDirectory {
public:
    TemporaryDirectory();
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
    ~TemporaryDirectory();

    const std::string& path() const { return mPath; }

private:
    std::string mPath;
};
