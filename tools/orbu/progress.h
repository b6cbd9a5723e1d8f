// A progress bar on standard error, when that is a terminal: "reading  [######......]  50%  12.3 MiB".
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

class Progress {
public:
    // `total` in bytes; 0 when it is not known, then only what is done is shown. Nothing is drawn in the
    // first moment, so that short work stays quiet.
    Progress(std::string what, std::uint64_t total);
    // Takes the bar away.
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    // Bytes done so far. Cheap: it draws a few times a second at most. `note` is put behind the bar.
    void show(std::uint64_t done, std::string const& note = {});

private:
    std::string what_;
    std::uint64_t total_;
    bool terminal_;
    bool drawn_ = false;
    std::chrono::steady_clock::time_point next_;
};

// A count of bytes for a person: 512 B, 12.3 MiB.
std::string bytes_text(std::uint64_t bytes);
