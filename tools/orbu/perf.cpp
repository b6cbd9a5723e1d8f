// orbu perf: what a performance log tells.
#include "exitCodes.h"
#include "freshFile.h"
#include "perfTimeline.h"
#include "progress.h"
#include "serviceVerbs.h"
#include "terminal.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr size_t kBlock = 1 << 18;
constexpr size_t kMostLine = 1 << 16;

constexpr char kExamples[] =
    R"(Pairs the events NAME.START and NAME.END of each component of each process, and prints for each event how often it
happened and how long it took: median, 95th percentile and worst, the most expensive first. Lines that cannot be read
are counted and passed over. Memory does not grow with the log: 50,000 events may be open at once (the oldest are given
up), 1,000 events are told apart, the first 200 bytes of a name count, and beyond 1,024 durations of one event the figures
from 256 ms up are within 1 %.

Examples:
  orbu perf ~/Orbu/OrbuPerfLog.csv
  orbu perf ~/Orbu/OrbuPerfLog.csv --svg timeline.svg
  grep ',4242,' ~/Orbu/OrbuPerfLog.csv | orbu perf - --json)";

struct Arguments {
    std::string file;
    std::string picture;
    bool json = false;
};

class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    ~Descriptor() {
        if (fd_ > STDERR_FILENO) {
            ::close(fd_);
        }
    }
    int get() const { return fd_; }

private:
    int fd_;
};

[[noreturn]] void fail(std::string const& what, std::string const& path) {
    throw Failure(ExitFailed, what + " " + one_line(path) + ": " + std::strerror(errno));
}

// Hands over the lines of a file, one of which may be damaged by being endless.
void read_lines(int fd, std::string const& path, PerfLog& log) {
    struct stat info {};
    bool const regular = ::fstat(fd, &info) == 0 && S_ISREG(info.st_mode);
    Progress progress("reading", regular ? static_cast<std::uint64_t>(info.st_size) : 0);
    std::string held; // the beginning of a line whose end has not come
    bool skipping = false;
    std::string block(kBlock, '\0');
    std::uint64_t done = 0;
    for (;;) {
        ssize_t const count = ::read(fd, block.data(), block.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0) {
            fail("cannot read", path);
        }
        std::string_view rest(block.data(), static_cast<size_t>(count));
        for (size_t end = rest.find('\n'); end != rest.npos; end = rest.find('\n')) {
            if (skipping) {
                log.damaged();
            } else if (held.empty()) {
                log.line(rest.substr(0, end));
            } else {
                log.line(held.append(rest.substr(0, end)));
            }
            held.clear();
            skipping = false;
            rest.remove_prefix(end + 1);
        }
        skipping = skipping || held.size() + rest.size() > kMostLine;
        if (skipping) {
            held.clear();
        } else {
            held.append(rest);
        }
        if (count == 0) {
            break;
        }
        done += static_cast<std::uint64_t>(count);
        progress.show(done, std::to_string(log.lines()) + " lines");
    }
    if (skipping) {
        log.damaged();
    } else if (!held.empty()) {
        log.line(held);
    }
    log.finish();
}

// Whole or not at all, and never over the log itself.
void write_picture(std::string const& path, std::string const& picture, int log) {
    struct stat mine {};
    struct stat theirs {};
    if (::stat(path.c_str(), &theirs) == 0 && ::fstat(log, &mine) == 0 && mine.st_dev == theirs.st_dev &&
        mine.st_ino == theirs.st_ino) {
        throw Failure(ExitUsage, one_line(path) + " is the log itself; choose another name for the picture");
    }
    auto const write_all = [&](int fd) {
        for (std::string_view rest = picture; !rest.empty();) {
            ssize_t const count = ::write(fd, rest.data(), rest.size());
            if (count < 0 && errno != EINTR) {
                fail("cannot write", path);
            }
            rest.remove_prefix(static_cast<size_t>(std::max<ssize_t>(count, 0)));
        }
    };
    if (is_special(path)) {
        Descriptor const fd(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
        if (fd.get() < 0) {
            fail("cannot write", path);
        }
        write_all(fd.get());
        return;
    }
    FreshFile file(path);
    write_all(file.fd());
    file.commit();
}

std::vector<EventFigures const*> most_expensive_first(PerfLog const& log) {
    std::vector<EventFigures const*> events;
    for (EventFigures const& event : log.events()) {
        if (event.durations.count() > 0) {
            events.push_back(&event);
        }
    }
    std::stable_sort(events.begin(), events.end(), [](auto const* one, auto const* other) {
        return one->durations.total() > other->durations.total();
    });
    return events;
}

std::string as_json(PerfLog const& log) {
    nlohmann::ordered_json result = {{"lines", log.lines()},
                                     {"damaged", log.damaged_lines()},
                                     {"spans", log.spans()},
                                     {"without_end", log.without_end()},
                                     {"without_start", log.without_start()},
                                     {"backward", log.backward()},
                                     {"other", log.others()}};
    if (log.lines() > log.damaged_lines()) {
        result["first"] = time_text(log.first(), true);
        result["last"] = time_text(log.last(), true);
    }
    result["events"] = nlohmann::ordered_json::array();
    for (EventFigures const* const event : most_expensive_first(log)) {
        Durations const& durations = event->durations;
        result["events"].push_back({{"event", event->name},
                                    {"component", event->component},
                                    {"count", durations.count()},
                                    {"median_ms", durations.median()},
                                    {"p95_ms", durations.percentile(95)},
                                    {"worst_ms", durations.worst()},
                                    {"total_ms", durations.total()}});
    }
    return result.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

// Bytes that follow the first of a character take no place of their own.
size_t width_of(std::string const& text) {
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

// Columns of the width that they need; the first two hold names, the others figures.
std::string as_table(PerfLog const& log) {
    std::vector<std::vector<std::string>> rows = {
        {"EVENT", "COMPONENT", "COUNT", "MEDIAN", "P95", "WORST", "TOTAL"}};
    for (EventFigures const* const event : most_expensive_first(log)) {
        Durations const& durations = event->durations;
        rows.push_back({one_line(event->name), one_line(event->component), std::to_string(durations.count()),
                        duration_of(durations.median()), duration_of(durations.percentile(95)),
                        duration_of(static_cast<double>(durations.worst())), duration_of(durations.total())});
    }
    std::vector<size_t> widths(rows[0].size());
    for (auto const& row : rows) {
        for (size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], width_of(row[i]));
        }
    }
    std::string text;
    for (auto const& row : rows) {
        std::string line;
        for (size_t i = 0; i < row.size(); ++i) {
            std::string const blanks(widths[i] - width_of(row[i]), ' ');
            line += (i == 0 ? "" : "  ") + (i < 2 ? row[i] + blanks : blanks + row[i]);
        }
        text += line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
    }
    return text;
}

std::string counted(std::uint64_t count, char const* one, char const* many) {
    return std::to_string(count) + " " + (count == 1 ? one : many);
}

void tell_leftovers(PerfLog const& log) {
    auto const part = [](std::uint64_t count, char const* one, char const* many) {
        if (count > 0) {
            tell(counted(count, one, many));
        }
    };
    part(log.damaged_lines(), "damaged line was passed over", "damaged lines were passed over");
    part(log.without_end(), "event began and did not end", "events began and did not end");
    part(log.without_start(), "END has no START before it", "ENDs have no START before them");
    part(log.backward(), "event ended before it began: the clock was set back",
         "events ended before they began: the clock was set back");
}

int perf(Arguments const& arguments) {
    bool const standard = arguments.file == "-";
    Descriptor fd(standard ? STDIN_FILENO : ::open(arguments.file.c_str(), O_RDONLY | O_CLOEXEC));
    if (fd.get() < 0) {
        fail("cannot read", arguments.file);
    }
    Timeline timeline;
    PerfLog log(arguments.picture.empty() ? nullptr : &timeline);
    read_lines(fd.get(), arguments.file, log);

    if (log.lines() > 0 && log.lines() == log.damaged_lines()) {
        throw Failure(ExitBadData, one_line(arguments.file) + " is no performance log: none of its " +
                                       counted(log.lines(), "line", "lines") + " can be read");
    }
    if (!arguments.picture.empty()) {
        std::string const name = standard ? "standard input" : arguments.file;
        write_picture(arguments.picture, timeline.svg(name.substr(name.rfind('/') + 1), log), fd.get());
    }
    if (arguments.json) {
        put(as_json(log));
        return ExitDone;
    }
    put(as_table(log));
    std::string summary =
        counted(log.lines(), "line", "lines") + ", " + counted(log.spans(), "span", "spans");
    if (log.others() > 0) {
        summary += ", " + counted(log.others(), "event of another kind", "events of other kinds");
    }
    if (log.lines() > log.damaged_lines()) {
        summary += "; " + time_text(log.first(), true) + " to " + time_text(log.last(), true);
    }
    put("\n" + summary + "\n");
    tell_leftovers(log);
    return ExitDone;
}

} // namespace

void add_perf_verb(CLI::App& app, Action& action) {
    auto const arguments = std::make_shared<Arguments>();
    CLI::App* const verb = app.add_subcommand("perf", "Tell what a performance log shows");
    verb->footer(kExamples);
    verb->add_option("FILE", arguments->file, "The log; - is standard input")->required();
    verb->add_option("--svg", arguments->picture, "Draw a timeline to this file")->type_name("OUT");
    verb->add_flag("--json", arguments->json, "Print the figures as JSON");
    verb->callback([&action, arguments] { action = [arguments] { return perf(*arguments); }; });
}
