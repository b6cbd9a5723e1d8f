// OrbuDelimitedFile: the writer under the logs. It appends lines to a text file, each behind a section that
// says when and by which process it was written.
//
//   section     date, delimiter, time, delimiter, process id; empty when one of the three is empty
//   keyed line  section, one tab, key=value pairs joined by ",", a line feed
//   flat line   section, delimiter, then each field followed by the delimiter, a line feed
//
// - A section is stamped by updateCurrentSection, not per line: lines until the next stamp bear the same one.
// - Nothing is escaped: a comma, a "=" or a line feed in a value stays as it is, and placeholders such as
//   "%1" are text like any other.
// - Every operation that writes opens the file by itself, as fopen(3) with "a+" does, so the file is made
//   even when nothing can be written to it; it stays open. A line goes out whole by one write(2), so that
//   lines of several processes do not mix even where their lock has run out.
// - Results are bool, true for success. Nothing is logged or tried again; a failed write leaves the file
//   open.
// - Threads: an object belongs to one thread at a time. Other writers are the caller's to keep out.
#pragma once

#include "orbuutil/orbuExport.h"
#include "orbuutil/tstr.h"

#include <cstdio>
#include <list>
#include <utility>

class ORBU_EXPORT OrbuDelimitedFile {
public:
    using Pair = std::pair<TStr, TStr>; // key and value
    using Pairs = std::list<Pair>;
    using Fields = std::list<TStr>;

    // The delimiter of a section in a keyed line.
    static constexpr char const* kSpace = " ";

    // Keeps the name, which may be empty; opens nothing.
    explicit OrbuDelimitedFile(TStr filename);
    ~OrbuDelimitedFile();
    OrbuDelimitedFile(OrbuDelimitedFile const&) = delete;
    OrbuDelimitedFile& operator=(OrbuDelimitedFile const&) = delete;

    // Closes the file when the name differs.
    void setFilename(TStr const& name);
    TStr getFilename() const;

    // fopen(3) with "w" or, without `truncate`, "a+". False for an empty name. On a file that is open it does
    // nothing, truncate included, and gives true.
    bool open(bool truncate);
    // Both close the file if it is open.
    void close();
    void refresh();
    // Leaves an empty, closed file behind, also where there was none. Nothing for an empty name.
    void clearContents();

    // Stamps the section now: the process id, the local date, and the time to the second or the millisecond.
    void updateCurrentSection(bool withMilliSecs);
    bool isCurrentSectionSet() const;
    TStr getCurrentSection(TStr const& delimiter) const;
    TStr formatSection(TStr const& sectionDate, TStr const& sectionTime, TStr const& sectionProcessId,
                       TStr const& delimiter) const;

    // Empty, whatever it is given: hosts expect no decoration of keys.
    TStr formatKey(TStr const& first, TStr const& second, TStr const& third) const;

    // 2024/03/09. A month or day of 1 to 9 gets a leading 0; all else, 0 included, is written as it is.
    TStr formatDate(int year, int month, int day) const;
    // 12:03:05; what is below 10 gets a leading 0.
    TStr formatTime(int hours, int minutes, int seconds) const;
    // 12:03:05:7: readers of the logs expect milliseconds without leading zeros. Below 0 the field is empty.
    TStr formatTimeWMilliSecs(int hours, int minutes, int seconds, int milliSecs) const;

    // Keyed lines under the current section, with a blank as its delimiter. False, and an empty file at most,
    // without a section or with an empty list. With `closeAfter` the file is closed in the end, however the
    // write went.
    bool write(TStr const& key, TStr const& value);
    bool write(TStr const& key, int value);
    bool write(Pairs const& pairs);
    bool append(TStr const& key, TStr const& value, bool closeAfter);
    bool append(Pairs const& pairs, bool closeAfter);
    // The same under the given section.
    bool append(TStr const& section, Pairs const& pairs);
    bool append(TStr const& section, TStr const& key, TStr const& value);
    // Without this a literal as third argument would be taken for `closeAfter`.
    bool append(TStr const& section, TStr const& key, char const* value);

    // A flat line under the current section. False without a section or with an empty list.
    bool writeDebugLog(Fields const& fields, TStr const& delimiter);

private:
    bool put(char const* line);

    TStr filename;
    TStr processId;
    TStr date;
    TStr time;
    std::FILE* file = nullptr;
};
