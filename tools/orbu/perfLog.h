// Reads a performance log line by line: pairs START and END events, and keeps figures for each kind of event.
// Memory does not grow with the log: so many events may be open at once, so many kinds are told apart, and of
// many durations of one kind only how they are spread is kept.
#pragma once

#include <cstdint>
#include <list>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

using Milliseconds = std::int64_t; // of local time, since 1970/01/01

// One line: date,time,process,system,host,version,data:data,data:data,[component],event,
struct PerfLine {
    enum Kind { Start, End, Other };
    Milliseconds time;
    std::string_view process;
    std::string_view component; // without its brackets
    std::string_view event;     // without .START or .END
    Kind kind;
};

// Nothing for a line that is torn or no line of such a log. The views point into `line`.
std::optional<PerfLine> parse_perf_line(std::string_view line);

// "2024/03/09 12:03:05" and, with `milliseconds`, ".007".
std::string time_text(Milliseconds time, bool milliseconds);

// "12 ms", "1.25 s", "3m20s", "2h05m".
std::string duration_of(double milliseconds);

// Many durations. Up to 1024 are kept as they are; then counts in steps of less than 1 % take their place,
// where those below 256 ms are still exact.
class Durations {
public:
    void add(Milliseconds duration);

    std::uint64_t count() const { return count_; }
    Milliseconds worst() const { return worst_; }
    double total() const { return total_; }
    double median() const;
    // The smallest duration that `percent` of all do not exceed.
    double percentile(unsigned percent) const;

private:
    double at(std::uint64_t rank) const; // from 0, in order of size

    std::uint64_t count_ = 0;
    Milliseconds worst_ = 0;
    double total_ = 0;
    mutable std::vector<Milliseconds> exact_;
    mutable bool sorted_ = true;
    std::vector<std::uint64_t> steps_;
};

// A component's event by its name.
struct EventFigures {
    std::string component;
    std::string name;
    Durations durations;
};

// What is found on the way.
class SpanSink {
public:
    virtual ~SpanSink() = default;
    // `event` is an index into PerfLog::events(). A lane is one component of one process.
    virtual void span(std::string_view lane, unsigned event, Milliseconds start, Milliseconds end) = 0;
    // It began, and no end of it was found.
    virtual void unfinished(std::string_view lane, unsigned event, Milliseconds start) = 0;
};

class PerfLog {
public:
    explicit PerfLog(SpanSink* sink) : sink_(sink) {}

    void line(std::string_view line);
    // A line that cannot even be read.
    void damaged() { ++lines_, ++damaged_; }
    // After the last line: what is open has no end.
    void finish();

    std::vector<EventFigures> const& events() const { return events_; }
    std::uint64_t lines() const { return lines_; }
    std::uint64_t damaged_lines() const { return damaged_; }
    std::uint64_t spans() const { return spans_; }
    std::uint64_t without_end() const { return without_end_; }
    std::uint64_t without_start() const { return without_start_; }
    std::uint64_t backward() const { return backward_; } // ended before they began: the clock was set
    std::uint64_t others() const { return others_; }     // neither START nor END
    Milliseconds first() const { return first_; }
    Milliseconds last() const { return last_; }

private:
    struct Open;
    using Order = std::list<Open>; // oldest first
    using OpenByKey = std::unordered_map<std::string, std::vector<Order::iterator>>;
    struct Open {
        Milliseconds start;
        unsigned event;
        OpenByKey::value_type* key;
    };

    unsigned event_of(PerfLine const& line);
    void start(PerfLine const& line);
    void end(PerfLine const& line);
    void give_up(Order::iterator open);

    SpanSink* sink_;
    std::vector<EventFigures> events_;
    std::unordered_map<std::string, unsigned> event_index_;
    Order order_;
    OpenByKey open_;
    std::string key_; // process, component and name of the line at hand, each ended by a NUL
    std::uint64_t lines_ = 0;
    std::uint64_t damaged_ = 0;
    std::uint64_t spans_ = 0;
    std::uint64_t without_end_ = 0;
    std::uint64_t without_start_ = 0;
    std::uint64_t backward_ = 0;
    std::uint64_t others_ = 0;
    Milliseconds first_ = 0;
    Milliseconds last_ = 0;
};
