#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

// A time such as 500ms, 20s, 1.5m or 1h: a number above 0 and a unit (us, ms, s, m or min, h), 1000 hours at
// most.
std::optional<std::chrono::nanoseconds> parse_duration(std::string_view text);

// The same in words, in the largest unit that gives a whole number.
std::string duration_text(std::chrono::nanoseconds duration);
