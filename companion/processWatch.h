// Tells when a process is gone. A descriptor for each process where the system has them (pidfd_open(2)), so
// that a wait in poll(2) ends with the process; otherwise the caller looks again every now and then.
#pragma once

#include <map>
#include <poll.h>
#include <sys/types.h>
#include <vector>

class ProcessWatch {
public:
    ProcessWatch() = default;
    ProcessWatch(ProcessWatch const&) = delete;
    ProcessWatch& operator=(ProcessWatch const&) = delete;
    ~ProcessWatch();

    // Watches `pid` under `key`; a key that is watched already is left as it is.
    void add(long key, pid_t pid);
    void remove(long key);
    bool has(long key) const { return watched_.count(key) != 0; }
    size_t size() const { return watched_.size(); }
    std::vector<long> keys() const;

    // Adds the descriptors to wait for. True: some process has none, so the wait needs a limit.
    bool prepare(std::vector<pollfd>& descriptors);
    // Takes in what poll(2) found for the descriptors of prepare(); true when some process has ended.
    bool collect(std::vector<pollfd> const& descriptors);
    // Whether the process under `key` is gone, also when its parent has not collected it yet.
    bool isGone(long key) const;

private:
    struct Watched {
        pid_t pid;
        int descriptor; // -1: none
        bool gone;
    };

    std::map<long, Watched> watched_;
    size_t first_ = 0; // where the descriptors of prepare() begin
};
