// The picture of a performance log: a time axis, a lane for each component of each process, a bar for each
// span. Memory does not grow with the log: time is cut into some 2,000 pieces, which widen as the log goes
// on, and of the spans that begin in one piece of one lane the four longest are kept.
#pragma once

#include "perfLog.h"

#include <map>

class Timeline : public SpanSink {
public:
    void span(std::string_view lane, unsigned event, Milliseconds start, Milliseconds end) override;
    void unfinished(std::string_view lane, unsigned event, Milliseconds start) override;

    // The whole picture as SVG, whatever bytes the names are made of.
    std::string svg(std::string const& title, PerfLog const& log) const;

private:
    struct Bar {
        Milliseconds start;
        Milliseconds end; // `start` for what has no end
        unsigned event;
        bool finished;
    };
    using Piece = std::vector<Bar>; // the longest first
    struct Lane {
        Milliseconds first;
        double busy = 0;
        std::map<std::int64_t, Piece> pieces;
    };
    using Lanes = std::unordered_map<std::string, Lane>;

    void add(std::string_view lane, Bar const& bar);
    void widen();
    static void keep(Piece& piece, Bar const& bar);

    Lanes lanes_;
    std::uint64_t lanes_dropped_ = 0;
    Milliseconds width_ = 1; // of a piece, a power of 2
    std::int64_t first_piece_ = 0;
    std::int64_t last_piece_ = -1;
};
