#include "perfTimeline.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <tuple>

namespace {

constexpr std::int64_t kPieces = 2048;
constexpr size_t kBarsOfPiece = 4;
constexpr size_t kMostLanes = 256; // kept
constexpr size_t kLanesDrawn = 30; // the busiest
constexpr size_t kRows = 5;        // of bars that overlap in one lane
constexpr size_t kMostRectangles = 4000;
constexpr unsigned kColours = 8; // for the events that take most time; one more for the rest

constexpr double kLeft = 210;
constexpr double kPlot = 960;
constexpr double kRight = 30;
constexpr double kTop = 74;
constexpr double kRow = 16;
constexpr double kBar = 13;
constexpr double kGap = 10;
constexpr double kLetter = 6.2; // mean width at 11 px

// Fills that keep apart for most eyes and carry dark letters, on white as on black.
constexpr char kStyle[] = R"(<style>
text { font: 11px system-ui, sans-serif; fill: #1b1f24 }
.title { font-size: 16px; font-weight: 600 } .faint { fill: #59636e }
.page { fill: #ffffff } .band { fill: #f3f5f7 } .grid { stroke: #d1d9e0 } .open { stroke: #cf222e; fill: none }
.bar { stroke: #1b1f24; stroke-opacity: .35; stroke-width: .5 } .in { fill: #101418; pointer-events: none }
.e0 { fill: #56b4e9 } .e1 { fill: #e69f00 } .e2 { fill: #3cb98c } .e3 { fill: #e58ab9 } .e4 { fill: #d7c62e }
.e5 { fill: #f0805a } .e6 { fill: #9aa6e8 } .e7 { fill: #7fd4d0 } .e8 { fill: #aab2bb }
@media (prefers-color-scheme: dark) {
text { fill: #e6edf3 } .faint { fill: #9198a1 } .in { fill: #101418 }
.page { fill: #0d1117 } .band { fill: #161b22 } .grid { stroke: #30363d } .open { stroke: #ff7b72 }
.bar { stroke: #e6edf3 } }
</style>
)";

// A name in XML: what is no UTF-8 or no character of XML becomes a replacement character.
std::string xml(std::string_view text) {
    std::string result;
    for (size_t at = 0; at < text.size();) {
        auto const lead = static_cast<unsigned char>(text[at]);
        size_t const length = lead < 0x80   ? 1
                              : lead < 0xC2 ? 0
                              : lead < 0xE0 ? 2
                              : lead < 0xF0 ? 3
                              : lead < 0xF5 ? 4
                                            : 0;
        std::uint32_t point = length == 1 ? lead : lead & (0x7Fu >> length);
        bool good = length > 0 && at + length <= text.size();
        for (size_t i = 1; good && i < length; ++i) {
            auto const byte = static_cast<unsigned char>(text[at + i]);
            good = (byte & 0xC0) == 0x80;
            point = (point << 6) | (byte & 0x3Fu);
        }
        static constexpr std::uint32_t least[] = {0, 0, 0x80, 0x800, 0x10000};
        good = good && point >= least[length] && point <= 0x10FFFF && (point < 0xD800 || point > 0xDFFF) &&
               point != 0xFFFE && point != 0xFFFF && point >= 0x20 && (point < 0x7F || point > 0x9F);
        if (!good) {
            result += "\xEF\xBF\xBD";
            ++at;
            continue;
        }
        switch (text[at]) {
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '&':
            result += "&amp;";
            break;
        case '"':
            result += "&quot;";
            break;
        default:
            result += text.substr(at, length);
        }
        at += length;
    }
    return result;
}

// As much of a name as fits, by whole characters.
std::string fitted(std::string_view text, double width) {
    auto const most = static_cast<size_t>(std::max(0.0, width / kLetter));
    size_t letters = 0;
    for (size_t at = 0; at < text.size(); ++at) {
        bool const begins = (static_cast<unsigned char>(text[at]) & 0xC0) != 0x80;
        if (begins && ++letters > most) {
            size_t cut = at; // one letter less, for the dots
            while (cut > 0 && (static_cast<unsigned char>(text[--cut]) & 0xC0) == 0x80) {
            }
            return most < 3 ? "" : std::string(text.substr(0, cut)) + "…";
        }
    }
    return std::string(text);
}

__attribute__((format(printf, 2, 3))) void add_format(std::string& to, char const* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    int const length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    to.append(text, std::min(sizeof text - 1, static_cast<size_t>(std::max(0, length))));
}

void add_text(std::string& to, double x, double y, char const* attributes, std::string_view text) {
    add_format(to, "<text x=\"%.1f\" y=\"%.1f\" %s>", x, y, attributes);
    to.append(xml(text)).append("</text>\n");
}

Milliseconds tick_step(Milliseconds range) {
    constexpr Milliseconds second = 1000;
    constexpr Milliseconds minute = 60 * second;
    constexpr Milliseconds hour = 60 * minute;
    constexpr Milliseconds day = 24 * hour;
    static constexpr Milliseconds steps[] = {
        1,           2,        5,          10,         20,          50,          100,
        200,         500,      second,     2 * second, 5 * second,  10 * second, 15 * second,
        30 * second, minute,   2 * minute, 5 * minute, 10 * minute, 15 * minute, 30 * minute,
        hour,        2 * hour, 3 * hour,   6 * hour,   12 * hour,   day,         2 * day,
        7 * day,     14 * day, 30 * day,   90 * day,   365 * day};
    for (Milliseconds const step : steps) {
        if (range / step <= 8) {
            return step;
        }
    }
    return (range / 8 / (365 * day) + 1) * 365 * day;
}

std::string tick_text(Milliseconds time, Milliseconds step) {
    std::string const text = time_text(time, step < 1000);
    return step >= 86400000 ? text.substr(0, 10) : text.substr(11, step >= 60000 ? 5 : std::string::npos);
}

std::string_view process_of(std::string_view lane) { return lane.substr(0, lane.find('\0')); }

std::string lane_text(std::string_view lane) {
    std::string_view const process = process_of(lane);
    return std::string(process) + " · " + std::string(lane.substr(process.size() + 1));
}

} // namespace

void Timeline::span(std::string_view lane, unsigned event, Milliseconds start, Milliseconds end) {
    add(lane, {start, end, event, true});
}

void Timeline::unfinished(std::string_view lane, unsigned event, Milliseconds start) {
    add(lane, {start, start, event, false});
}

void Timeline::add(std::string_view name, Bar const& bar) {
    auto lane = lanes_.find(std::string(name));
    if (lane == lanes_.end()) {
        if (lanes_.size() >= kMostLanes) {
            lanes_.erase(
                std::min_element(lanes_.begin(), lanes_.end(), [](auto const& one, auto const& other) {
                    return one.second.busy < other.second.busy;
                }));
            ++lanes_dropped_;
        }
        lane = lanes_.emplace(name, Lane{bar.start, 0, {}}).first;
    }
    lane->second.first = std::min(lane->second.first, bar.start);
    lane->second.busy += static_cast<double>(bar.end - bar.start);

    auto piece = [&] { return bar.start / width_; };
    auto range = [&] {
        return last_piece_ < first_piece_ ? 0
                                          : std::max(last_piece_, piece()) - std::min(first_piece_, piece());
    };
    while (range() >= kPieces) {
        widen();
    }
    bool const none = last_piece_ < first_piece_;
    first_piece_ = none ? piece() : std::min(first_piece_, piece());
    last_piece_ = none ? piece() : std::max(last_piece_, piece());
    keep(lane->second.pieces[piece()], bar);
}

// Two neighbouring pieces become one.
void Timeline::widen() {
    width_ *= 2;
    first_piece_ /= 2;
    last_piece_ /= 2;
    for (auto& [name, lane] : lanes_) {
        std::map<std::int64_t, Piece> wider;
        for (auto& [index, piece] : lane.pieces) {
            for (Bar const& bar : piece) {
                keep(wider[index / 2], bar);
            }
        }
        lane.pieces = std::move(wider);
    }
}

// What has no end shows that something went wrong: one of these is kept in front of the longest.
void Timeline::keep(Piece& piece, Bar const& bar) {
    auto const before = [](Bar const& one, Bar const& other) {
        return one.finished != other.finished ? !one.finished : one.end - one.start > other.end - other.start;
    };
    if (!bar.finished && !piece.empty() && !piece.front().finished) {
        return;
    }
    if (piece.size() == kBarsOfPiece) {
        if (!before(bar, piece.back())) {
            return;
        }
        piece.pop_back();
    }
    piece.insert(std::upper_bound(piece.begin(), piece.end(), bar, before), bar);
}

std::string Timeline::svg(std::string const& title, PerfLog const& log) const {
    auto const& events = log.events();

    // Colours go to the events that take most time.
    std::vector<unsigned> by_time(events.size());
    for (unsigned i = 0; i < by_time.size(); ++i) {
        by_time[i] = i;
    }
    std::stable_sort(by_time.begin(), by_time.end(), [&](unsigned one, unsigned other) {
        return events[one].durations.total() > events[other].durations.total();
    });
    std::vector<unsigned> colour(events.size(), kColours);
    for (unsigned i = 0; i < by_time.size() && i < kColours; ++i) {
        colour[by_time[i]] = i;
    }

    // The busiest lanes, those of a process together, in the order of their beginning.
    std::vector<Lanes::const_pointer> shown;
    for (auto const& lane : lanes_) {
        shown.push_back(&lane);
    }
    std::sort(shown.begin(), shown.end(), [](auto const* one, auto const* other) {
        return std::tie(other->second.busy, one->first) < std::tie(one->second.busy, other->first);
    });
    std::uint64_t const hidden_lanes =
        lanes_dropped_ + (shown.size() > kLanesDrawn ? shown.size() - kLanesDrawn : 0);
    shown.resize(std::min(shown.size(), kLanesDrawn));
    std::map<std::string_view, Milliseconds> begun; // by process
    for (auto const* lane : shown) {
        auto& first = begun.try_emplace(process_of(lane->first), lane->second.first).first->second;
        first = std::min(first, lane->second.first);
    }
    std::sort(shown.begin(), shown.end(), [&](auto const* one, auto const* other) {
        auto const place = [&](auto const* lane) {
            auto const process = begun.find(process_of(lane->first));
            return std::tuple(process->second, process->first, lane->second.first,
                              std::string_view(lane->first));
        };
        return place(one) < place(other);
    });

    // Bars of a lane in rows: one that begins while another runs stands below it.
    struct Placed {
        Bar bar;
        size_t row;
    };
    std::vector<std::vector<Placed>> placed(shown.size());
    std::vector<size_t> rows(shown.size(), 1);
    std::vector<Milliseconds> lengths;
    bool all = true;
    Milliseconds from = INT64_MAX;
    Milliseconds to = INT64_MIN;
    for (size_t lane = 0; lane < shown.size(); ++lane) {
        std::vector<Bar> bars;
        for (auto const& [index, piece] : shown[lane]->second.pieces) {
            bars.insert(bars.end(), piece.begin(), piece.end());
        }
        std::stable_sort(bars.begin(), bars.end(), [](Bar const& one, Bar const& other) {
            return one.start != other.start ? one.start < other.start : one.end > other.end;
        });
        std::vector<Milliseconds> row_ends;
        for (Bar const& bar : bars) {
            size_t row = 0;
            while (row < row_ends.size() && row_ends[row] > bar.start) {
                ++row;
            }
            if (row >= kRows) {
                all = false;
                continue;
            }
            row_ends.resize(std::max(row_ends.size(), row + 1));
            row_ends[row] = bar.end;
            rows[lane] = std::max(rows[lane], row + 1);
            placed[lane].push_back({bar, row});
            lengths.push_back(bar.end - bar.start);
            from = std::min(from, bar.start);
            to = std::max(to, bar.end);
        }
    }
    if (from > to) {
        from = to = 0;
    }
    Milliseconds const range = std::max<Milliseconds>(to - from, 1);
    // Only the longest bars are things of their own that tell about themselves.
    Milliseconds shortest = 0;
    if (lengths.size() > kMostRectangles) {
        std::nth_element(lengths.begin(), lengths.begin() + kMostRectangles, lengths.end(), std::greater<>());
        shortest = lengths[kMostRectangles] + 1;
    }
    auto const x = [&](Milliseconds time) {
        return kLeft + kPlot * (static_cast<double>(time - from) / static_cast<double>(range));
    };

    double height = kTop + kGap;
    for (size_t const count : rows) {
        height += static_cast<double>(count) * kRow + kGap;
    }
    height = shown.empty() ? kTop + 60 : height;
    double const bottom = height;
    size_t const legend = std::min<size_t>(by_time.size(), kColours) + (by_time.size() > kColours ? 1 : 0);
    size_t const legend_rows = (legend + 3) / 4;
    height += 50 + static_cast<double>(legend_rows) * 20;

    std::string out = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    add_format(
        out,
        "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 %.0f %.0f\" width=\"%.0f\" height=\"%.0f\" "
        "role=\"img\">\n",
        kLeft + kPlot + kRight, height, kLeft + kPlot + kRight, height);
    out.append("<title>").append(xml(title)).append("</title>\n").append(kStyle);
    out += "<rect class=\"page\" width=\"100%\" height=\"100%\"/>\n";
    add_text(out, 16, 26, "class=\"title\"", fitted(title, 1500));
    std::string told = std::to_string(log.spans()) + " spans";
    if (!all || lengths.size() < log.spans() + log.without_end()) {
        told += ", the longest of each moment drawn";
    }
    if (hidden_lanes > 0) {
        told += ", " + std::to_string(hidden_lanes) + " less busy lanes left out";
    }
    if (log.without_end() > 0) {
        told += ", " + std::to_string(log.without_end()) + " begun and not ended (marked red)";
    }
    if (log.damaged_lines() > 0) {
        told += ", " + std::to_string(log.damaged_lines()) + " damaged lines";
    }
    if (!shown.empty()) {
        told = time_text(from, true) + " to " + time_text(to, true) + " (" + duration_of(double(to - from)) +
               "): " + told;
    }
    add_text(out, 16, 44, "class=\"faint\"", told);

    // Lanes, then the axis over them, then the bars.
    double y = kTop + kGap;
    std::vector<double> tops;
    for (size_t lane = 0; lane < shown.size(); ++lane) {
        tops.push_back(y);
        double const tall = static_cast<double>(rows[lane]) * kRow;
        add_format(out, "<rect class=\"band\" x=\"8\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" rx=\"3\"/>\n",
                   y - 4, kLeft + kPlot + kRight - 16, tall + 5);
        std::string const name = lane_text(shown[lane]->first);
        out += "<g><title>" + xml(name) + "</title>";
        add_text(out, kLeft - 10, y + 10, "text-anchor=\"end\"", fitted(name, kLeft - 24));
        out += "</g>\n";
        y += tall + kGap;
    }
    if (shown.empty()) {
        add_text(out, kLeft, kTop + 30, "class=\"faint\"", "No event has both a START and an END.");
    } else {
        Milliseconds const step = tick_step(range);
        for (Milliseconds tick = (from + step - 1) / step * step; tick <= to; tick += step) {
            add_format(out, "<line class=\"grid\" x1=\"%.1f\" x2=\"%.1f\" y1=\"%.1f\" y2=\"%.1f\"/>\n",
                       x(tick), x(tick), kTop, bottom - 4);
            add_text(out, x(tick), kTop - 6, "text-anchor=\"middle\" class=\"faint\"", tick_text(tick, step));
        }
    }
    std::string dense[kColours + 1]; // bars too short, or too many, to stand for themselves
    std::string marks;
    for (size_t lane = 0; lane < shown.size(); ++lane) {
        std::vector<double> row_ends(rows[lane], -1);
        for (auto const& [bar, row] : placed[lane]) {
            double const left = x(bar.start);
            double const top = tops[lane] + static_cast<double>(row) * kRow;
            double const wide = std::max(1.0, x(bar.end) - left);
            if (!bar.finished) {
                add_format(marks, "M%.1f %.1fv%.1fM%.1f %.1fl5 4l-5 4", left, top - 2, kBar + 4, left,
                           top - 2);
                continue;
            }
            if (left + wide < row_ends[row] + 0.5) {
                continue; // behind what is drawn
            }
            row_ends[row] = left + wide;
            if (wide < 3 || bar.end - bar.start < shortest) {
                add_format(dense[colour[bar.event]], "M%.1f %.1fh%.1fv%.1fh-%.1fz", left, top, wide, kBar,
                           wide);
                continue;
            }
            EventFigures const& event = events[bar.event];
            add_format(out,
                       "<rect class=\"bar e%u\" x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.0f\" "
                       "rx=\"2\"><title>",
                       colour[bar.event], left, top, wide, kBar);
            out += xml(event.name) + ": " + duration_of(double(bar.end - bar.start)) + ", from " +
                   time_text(bar.start, true).substr(11) + "</title></rect>\n";
            std::string const label = fitted(event.name, wide - 8);
            if (!label.empty()) {
                add_text(out, left + 4, top + 10, "class=\"in\"", label);
            }
        }
    }
    for (unsigned i = 0; i <= kColours; ++i) {
        if (!dense[i].empty()) {
            out += "<path class=\"e" + std::to_string(i) + "\" d=\"" + dense[i] + "\"/>\n";
        }
    }
    if (!marks.empty()) {
        out += "<path class=\"open\" d=\"" + marks + "\"><title>begun and not ended</title></path>\n";
    }

    // The legend: what a colour means.
    for (size_t i = 0; i < legend; ++i) {
        size_t const row = i / 4;
        double const left = 16 + static_cast<double>(i % 4) * 290;
        double const top = bottom + 24 + static_cast<double>(row) * 20;
        std::string name = "all other events";
        if (i < kColours) {
            EventFigures const& event = events[by_time[i]];
            name = event.name + (event.component.empty() ? "" : " (" + event.component + ")") + " × " +
                   std::to_string(event.durations.count());
        }
        add_format(out,
                   "<rect class=\"bar e%zu\" x=\"%.1f\" y=\"%.1f\" width=\"12\" height=\"12\" rx=\"2\"/>\n",
                   i, left, top);
        add_text(out, left + 18, top + 10, "", fitted(name, 265));
    }
    return out + "</svg>\n";
}
