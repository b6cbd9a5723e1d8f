#include "processWatch.h"

#include <sys/syscall.h>
#include <unistd.h>

#include "orbuutil/tprocess.h"

ProcessWatch::~ProcessWatch() {
    for (auto const& [key, watched] : watched_) {
        if (watched.descriptor >= 0) {
            ::close(watched.descriptor);
        }
    }
}

void ProcessWatch::add(long key, pid_t pid) {
    if (!has(key)) {
        watched_[key] = {pid, static_cast<int>(::syscall(SYS_pidfd_open, pid, 0)), false};
    }
}

void ProcessWatch::remove(long key) {
    auto const entry = watched_.find(key);
    if (entry != watched_.end()) {
        if (entry->second.descriptor >= 0) {
            ::close(entry->second.descriptor);
        }
        watched_.erase(entry);
    }
}

std::vector<long> ProcessWatch::keys() const {
    std::vector<long> keys;
    for (auto const& entry : watched_) {
        keys.push_back(entry.first);
    }
    return keys;
}

bool ProcessWatch::prepare(std::vector<pollfd>& descriptors) {
    bool someWithout = false;
    first_ = descriptors.size();
    for (auto const& [key, watched] : watched_) {
        if (watched.descriptor < 0) {
            someWithout = true;
        } else if (!watched.gone) {
            descriptors.push_back({watched.descriptor, POLLIN, 0});
        }
    }
    return someWithout;
}

bool ProcessWatch::collect(std::vector<pollfd> const& descriptors) {
    bool some = false;
    size_t next = first_;
    for (auto& [key, watched] : watched_) {
        if (watched.descriptor >= 0 && !watched.gone) {
            watched.gone = descriptors[next++].revents != 0;
            some = some || watched.gone;
        }
    }
    return some;
}

bool ProcessWatch::isGone(long key) const {
    auto const entry = watched_.find(key);
    if (entry == watched_.end()) {
        return true;
    }
    Watched const& watched = entry->second;
    return watched.descriptor >= 0 ? watched.gone : TProcess(watched.pid).status() != 0;
}
