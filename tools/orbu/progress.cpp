#include "progress.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds kPatience{300};
constexpr std::chrono::milliseconds kPeriod{100};
constexpr int kWidth = 30;

bool is_terminal() {
    char const* const kind = std::getenv("TERM");
    return ::isatty(STDERR_FILENO) == 1 && kind != nullptr && std::strcmp(kind, "dumb") != 0;
}

void put_error(std::string const& text) {
    // A bar that cannot be drawn is no failure of the work.
    [[maybe_unused]] ssize_t const written = ::write(STDERR_FILENO, text.data(), text.size());
}

} // namespace

Progress::Progress(std::string what, std::uint64_t total)
    : what_(std::move(what)),
      total_(total),
      terminal_(is_terminal()),
      next_(std::chrono::steady_clock::now() + kPatience) {}

Progress::~Progress() {
    if (drawn_) {
        put_error("\r\033[K");
    }
}

void Progress::show(std::uint64_t done, std::string const& note) {
    if (!terminal_ || std::chrono::steady_clock::now() < next_) {
        return;
    }
    next_ = std::chrono::steady_clock::now() + kPeriod;
    std::string line = "\r" + what_ + "  ";
    if (total_ > 0) {
        double const share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total_));
        int const full = static_cast<int>(share * kWidth);
        char percent[8];
        std::snprintf(percent, sizeof percent, "%3d%%", static_cast<int>(share * 100));
        line += "[" + std::string(full, '#') + std::string(kWidth - full, '.') + "]  " + percent + "  ";
    }
    put_error(line + bytes_text(done) + (note.empty() ? "" : "  " + note) + "\033[K");
    drawn_ = true;
}

std::string bytes_text(std::uint64_t bytes) {
    static constexpr char const* units[] = {"B", "KiB", "MiB", "GiB", "TiB"};
    double value = static_cast<double>(bytes);
    size_t unit = 0;
    for (; value >= 1024 && unit + 1 < std::size(units); ++unit) {
        value /= 1024;
    }
    char text[32];
    std::snprintf(text, sizeof text, unit == 0 ? "%.0f %s" : "%.1f %s", value, units[unit]);
    return text;
}
