#include "duration.h"

#include <charconv>

namespace {

struct Unit {
    std::string_view name;
    double nanoseconds;
};

constexpr Unit kUnits[] = {{"h", 3600e9}, {"m", 60e9}, {"min", 60e9}, {"s", 1e9}, {"ms", 1e6}, {"us", 1e3}};
constexpr double kLongest = 1000 * 3600e9;

} // namespace

std::optional<std::chrono::nanoseconds> parse_duration(std::string_view text) {
    double number = 0;
    auto const [rest, error] =
        std::from_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed);
    if (error != std::errc()) {
        return std::nullopt;
    }
    std::string_view const name(rest, static_cast<size_t>(text.data() + text.size() - rest));
    for (Unit const& unit : kUnits) {
        double const nanoseconds = number * unit.nanoseconds;
        if (name == unit.name && nanoseconds >= 1 && nanoseconds <= kLongest) {
            return std::chrono::nanoseconds(static_cast<long>(nanoseconds));
        }
    }
    return std::nullopt;
}

std::string duration_text(std::chrono::nanoseconds duration) {
    for (Unit const& unit : kUnits) {
        long const size = static_cast<long>(unit.nanoseconds);
        if (duration.count() >= size && duration.count() % size == 0) {
            return std::to_string(duration.count() / size) + " " + std::string(unit.name);
        }
    }
    return std::to_string(duration.count()) + " ns";
}
