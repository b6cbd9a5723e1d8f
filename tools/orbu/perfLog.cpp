#include "perfLog.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdio>

namespace {

constexpr size_t kMostOpen = 50000;  // events that have begun and not ended
constexpr size_t kMostNested = 256;  // of one name in one component of one process
constexpr size_t kMostEvents = 1000; // kinds told apart; the rest is taken together
constexpr size_t kMostName = 200;    // bytes of a name that count
constexpr size_t kMostExact = 1024;  // durations kept as they are
constexpr size_t kColumns = 10;
constexpr unsigned kStepBits = 7; // 128 steps to each power of two
constexpr Milliseconds kDay = 86400000;

// Takes a decimal number of 1 to `most` digits off the front.
bool take_number(std::string_view& from, size_t most, int& value) {
    auto const [end, error] = std::from_chars(from.data(), from.data() + std::min(from.size(), most), value);
    if (error != std::errc() || from[0] == '-') {
        return false;
    }
    from.remove_prefix(static_cast<size_t>(end - from.data()));
    return true;
}

bool take(std::string_view& from, char byte) {
    bool const there = !from.empty() && from[0] == byte;
    from.remove_prefix(there ? 1 : 0);
    return there;
}

std::optional<Milliseconds> parse_date(std::string_view text) {
    int year = 0;
    int month = 0;
    int day = 0;
    if (!take_number(text, 4, year) || !take(text, '/') || !take_number(text, 2, month) || !take(text, '/') ||
        !take_number(text, 2, day) || !text.empty()) {
        return {};
    }
    std::chrono::year_month_day const date(std::chrono::year{year}, std::chrono::month(unsigned(month)),
                                           std::chrono::day(unsigned(day)));
    if (!date.ok()) {
        return {};
    }
    return std::chrono::sys_days(date).time_since_epoch().count() * kDay;
}

// 12:03:05:7; the milliseconds may be missing.
std::optional<Milliseconds> parse_time(std::string_view text) {
    int hours = 0;
    int minutes = 0;
    int seconds = 0;
    int milliseconds = 0;
    if (!take_number(text, 2, hours) || !take(text, ':') || !take_number(text, 2, minutes) ||
        !take(text, ':') || !take_number(text, 2, seconds)) {
        return {};
    }
    if (take(text, ':') && !text.empty() && !take_number(text, 3, milliseconds)) {
        return {};
    }
    if (!text.empty() || hours > 23 || minutes > 59 || seconds > 60) {
        return {};
    }
    return ((hours * 60 + minutes) * 60 + seconds) * Milliseconds(1000) + milliseconds;
}

bool is_component(std::string_view field) {
    return field == "NA" || (field.size() >= 2 && field.front() == '[' && field.back() == ']');
}

bool ends_in(std::string_view text, std::string_view end) {
    return text.size() > end.size() && text.substr(text.size() - end.size()) == end;
}

size_t step_of(Milliseconds duration) {
    auto const value = static_cast<std::uint64_t>(duration);
    unsigned const width = static_cast<unsigned>(std::bit_width(value));
    unsigned const shift = width > kStepBits + 1 ? width - kStepBits - 1 : 0;
    return (size_t(shift) << kStepBits) + static_cast<size_t>(value >> shift);
}

// The middle of a step.
double value_of(size_t step) {
    size_t const shift = step < (size_t(2) << kStepBits) ? 0 : (step >> kStepBits) - 1;
    double const low = static_cast<double>((step - (shift << kStepBits)) << shift);
    return low + static_cast<double>((size_t(1) << shift) - 1) / 2;
}

} // namespace

std::optional<PerfLine> parse_perf_line(std::string_view line) {
    if (!line.empty() && line.back() == '\r') {
        line.remove_suffix(1);
    }
    if (line.empty() || line.back() != ',' || line.find('\0') != line.npos) {
        return {};
    }
    // Fields may hold commas of their own, so what counts is found from both ends: date, time and process in
    // front, the component in its brackets and the event behind.
    std::string_view front[3];
    std::string_view rest = line;
    for (auto& field : front) {
        field = rest.substr(0, rest.find(','));
        rest.remove_prefix(std::min(rest.size(), field.size() + 1));
    }
    auto const date = parse_date(front[0]);
    auto const time = parse_time(front[1]);
    if (!date || !time || front[2].empty() || front[2].find_first_not_of("0123456789") != rest.npos) {
        return {};
    }
    size_t const fields = 3 + static_cast<size_t>(std::count(rest.begin(), rest.end(), ','));
    if (fields < kColumns) {
        return {};
    }
    PerfLine found{*date + *time, front[2], {}, {}, PerfLine::Other};
    std::string_view field;
    size_t event_at = 0;
    for (size_t number = 3, at = 0; number < fields; ++number, at += field.size() + 1) {
        field = rest.substr(at, rest.find(',', at) - at);
        if (fields > kColumns && parse_date(field)) {
            return {}; // the next line began before this one had ended
        }
        if (found.component.empty() && number >= kColumns - 2 && number + 1 < fields && is_component(field)) {
            found.component = field;
            event_at = at + field.size() + 1;
        }
    }
    if (found.component.empty()) {
        return {};
    }
    found.event = rest.substr(event_at, rest.size() - event_at - 1);
    if (found.component.front() == '[') {
        found.component = found.component.substr(1, found.component.size() - 2);
    }
    if (ends_in(found.event, ".START")) {
        found.kind = PerfLine::Start;
        found.event.remove_suffix(6);
    } else if (ends_in(found.event, ".END")) {
        found.kind = PerfLine::End;
        found.event.remove_suffix(4);
    }
    return found;
}

std::string time_text(Milliseconds time, bool milliseconds) {
    Milliseconds const days = time / kDay - (time % kDay < 0 ? 1 : 0);
    Milliseconds const rest = time - days * kDay;
    std::chrono::year_month_day const date{std::chrono::sys_days(std::chrono::days(days))};
    char text[64];
    std::snprintf(text, sizeof text, "%04d/%02u/%02u %02d:%02d:%02d", int(date.year()),
                  unsigned(date.month()), unsigned(date.day()), int(rest / 3600000), int(rest / 60000 % 60),
                  int(rest / 1000 % 60));
    std::string result = text;
    if (milliseconds) {
        std::snprintf(text, sizeof text, ".%03d", int(rest % 1000));
        result += text;
    }
    return result;
}

std::string duration_of(double milliseconds) {
    char text[64];
    if (milliseconds < 1000) {
        std::snprintf(text, sizeof text, "%.*f ms", milliseconds == std::floor(milliseconds) ? 0 : 1,
                      milliseconds);
    } else if (milliseconds < 60000) {
        std::snprintf(text, sizeof text, "%.2f s", milliseconds / 1000);
    } else {
        auto const seconds = static_cast<long long>(milliseconds / 1000);
        if (seconds < 3600) {
            std::snprintf(text, sizeof text, "%lldm%02llds", seconds / 60, seconds % 60);
        } else {
            std::snprintf(text, sizeof text, "%lldh%02lldm", seconds / 3600, seconds / 60 % 60);
        }
    }
    return text;
}

void Durations::add(Milliseconds duration) {
    ++count_;
    worst_ = std::max(worst_, duration);
    total_ += static_cast<double>(duration);
    if (steps_.empty() && exact_.size() < kMostExact) {
        exact_.push_back(duration);
        sorted_ = false;
        return;
    }
    auto const count = [this](Milliseconds one) {
        size_t const step = step_of(one);
        steps_.resize(std::max(steps_.size(), step + 1));
        ++steps_[step];
    };
    for (Milliseconds const one : exact_) {
        count(one);
    }
    exact_ = {};
    count(duration);
}

double Durations::at(std::uint64_t rank) const {
    if (steps_.empty()) {
        if (!sorted_) {
            std::sort(exact_.begin(), exact_.end());
            sorted_ = true;
        }
        return static_cast<double>(exact_[rank]);
    }
    size_t step = 0;
    for (std::uint64_t seen = steps_[0]; seen <= rank; seen += steps_[++step]) {
    }
    return std::min(value_of(step), static_cast<double>(worst_));
}

double Durations::median() const { return count_ == 0 ? 0 : (at((count_ - 1) / 2) + at(count_ / 2)) / 2; }

double Durations::percentile(unsigned percent) const {
    return count_ == 0 ? 0 : at((count_ * percent + 99) / 100 - 1);
}

void PerfLog::line(std::string_view text) {
    auto line = parse_perf_line(text);
    if (!line) {
        damaged();
        return;
    }
    first_ = lines_ == damaged_ ? line->time : std::min(first_, line->time);
    last_ = lines_ == damaged_ ? line->time : std::max(last_, line->time);
    ++lines_;
    line->component = line->component.substr(0, kMostName);
    line->event = line->event.substr(0, kMostName);
    if (line->kind == PerfLine::Other) {
        ++others_;
        return;
    }
    key_.assign(line->process.substr(0, kMostName)).append(1, '\0');
    key_.append(line->component).append(1, '\0').append(line->event);
    if (line->kind == PerfLine::Start) {
        start(*line);
    } else {
        end(*line);
    }
}

unsigned PerfLog::event_of(PerfLine const& line) {
    std::string_view const name = std::string_view(key_).substr(line.process.substr(0, kMostName).size() + 1);
    auto const known = event_index_.find(std::string(name));
    if (known != event_index_.end()) {
        return known->second;
    }
    if (events_.size() >= kMostEvents) {
        if (events_.size() == kMostEvents) {
            events_.push_back({"", "(all others)", {}});
        }
        return kMostEvents;
    }
    auto const index = static_cast<unsigned>(events_.size());
    events_.push_back({std::string(line.component), std::string(line.event), {}});
    event_index_.emplace(name, index);
    return index;
}

void PerfLog::start(PerfLine const& line) {
    auto const key = open_.try_emplace(key_).first;
    key->second.push_back(order_.insert(order_.end(), Open{line.time, event_of(line), &*key}));
    if (key->second.size() > kMostNested) {
        give_up(key->second.front());
    } else if (order_.size() > kMostOpen) {
        give_up(order_.begin());
    }
}

void PerfLog::end(PerfLine const& line) {
    auto const key = open_.find(key_);
    if (key == open_.end()) {
        ++without_start_;
        return;
    }
    // Events of one name nest: what began last ends first.
    Order::iterator const open = key->second.back();
    if (line.time < open->start) {
        ++backward_;
    } else {
        ++spans_;
        events_[open->event].durations.add(line.time - open->start);
        if (sink_ != nullptr) {
            sink_->span(std::string_view(key_).substr(0, key_.size() - line.event.size() - 1), open->event,
                        open->start, line.time);
        }
    }
    key->second.pop_back();
    order_.erase(open);
    if (key->second.empty()) {
        open_.erase(key);
    }
}

// The oldest of its key.
void PerfLog::give_up(Order::iterator open) {
    ++without_end_;
    auto* const key = open->key;
    if (sink_ != nullptr) {
        std::string_view const name(key->first);
        sink_->unfinished(name.substr(0, name.rfind('\0')), open->event, open->start);
    }
    key->second.erase(key->second.begin());
    order_.erase(open);
    if (key->second.empty()) {
        open_.erase(key->first);
    }
}

void PerfLog::finish() {
    while (!order_.empty()) {
        give_up(order_.begin());
    }
}
