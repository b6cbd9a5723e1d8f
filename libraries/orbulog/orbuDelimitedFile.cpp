#include "orbulog/orbuDelimitedFile.h"

#include "orbuutil/c_strPrivate.h"

#include <ctime>
#include <string>
#include <sys/time.h>
#include <unistd.h>

namespace {

// Every piece is taken up to its terminator, so that an odd byte in one never swallows what follows it.
char const* textOf(TStr const& text) { return private_str_text_or_empty(text.handle()); }

std::string sectionOf(TStr const& date, TStr const& time, TStr const& processId, TStr const& delimiter) {
    std::string section;
    if (!date.isEmpty() && !time.isEmpty() && !processId.isEmpty()) {
        section.append(textOf(date)).append(textOf(delimiter));
        section.append(textOf(time)).append(textOf(delimiter)).append(textOf(processId));
    }
    return section;
}

void appendPair(std::string& line, TStr const& key, TStr const& value) {
    line.append(textOf(key)).append("=").append(textOf(value));
}

// Behind a section; nothing without one or without pairs.
std::string keyedLine(std::string section, OrbuDelimitedFile::Pairs const& pairs) {
    if (section.empty() || pairs.empty()) {
        return {};
    }
    std::string line(std::move(section));
    char separator = '\t';
    for (auto const& [key, value] : pairs) {
        appendPair(line.append(1, separator), key, value);
        separator = ',';
    }
    return line.append("\n");
}

std::string keyedLine(std::string section, TStr const& key, TStr const& value) {
    if (section.empty()) {
        return {};
    }
    std::string line(std::move(section));
    appendPair(line.append("\t"), key, value);
    return line.append("\n");
}

std::string padded(int value, bool pad) { return (pad ? "0" : "") + std::to_string(value); }

bool isOneDigit(int value) { return value >= 1 && value <= 9; }

std::string clock(int hours, int minutes, int seconds) {
    return padded(hours, hours < 10) + ":" + padded(minutes, minutes < 10) + ":" +
           padded(seconds, seconds < 10);
}

} // namespace

// By value: hosts are built against it.
// NOLINTNEXTLINE(performance-unnecessary-value-param)
OrbuDelimitedFile::OrbuDelimitedFile(TStr name) : filename(name) {}

OrbuDelimitedFile::~OrbuDelimitedFile() { close(); }

void OrbuDelimitedFile::setFilename(TStr const& name) {
    if (filename != name) {
        close();
        filename = name;
    }
}

TStr OrbuDelimitedFile::getFilename() const { return filename; }

bool OrbuDelimitedFile::open(bool truncate) {
    if (filename.isEmpty()) {
        return false;
    }
    if (file == nullptr) {
        file = std::fopen(textOf(filename), truncate ? "w" : "a+");
        if (file != nullptr) {
            // One line is one write of the system, however long it is.
            std::setvbuf(file, nullptr, _IONBF, 0);
        }
    }
    return file != nullptr;
}

void OrbuDelimitedFile::close() {
    if (file != nullptr) {
        std::fclose(file);
        file = nullptr;
    }
}

void OrbuDelimitedFile::refresh() { close(); }

void OrbuDelimitedFile::clearContents() {
    if (!filename.isEmpty()) {
        close();
        open(true);
        close();
    }
}

void OrbuDelimitedFile::updateCurrentSection(bool withMilliSecs) {
    processId = TStr::number(static_cast<long>(::getpid()));
    timeval now{};
    ::gettimeofday(&now, nullptr);
    ::tzset();
    std::tm local{};
    ::localtime_r(&now.tv_sec, &local);
    date = formatDate(1900 + local.tm_year, local.tm_mon + 1, local.tm_mday);
    time = withMilliSecs ? formatTimeWMilliSecs(local.tm_hour, local.tm_min, local.tm_sec,
                                                static_cast<int>(now.tv_usec / 1000))
                         : formatTime(local.tm_hour, local.tm_min, local.tm_sec);
}

bool OrbuDelimitedFile::isCurrentSectionSet() const {
    return !date.isEmpty() && !time.isEmpty() && !processId.isEmpty();
}

TStr OrbuDelimitedFile::getCurrentSection(TStr const& delimiter) const {
    return formatSection(date, time, processId, delimiter);
}

TStr OrbuDelimitedFile::formatSection(TStr const& sectionDate, TStr const& sectionTime,
                                      TStr const& sectionProcessId, TStr const& delimiter) const {
    return sectionOf(sectionDate, sectionTime, sectionProcessId, delimiter).c_str();
}

TStr OrbuDelimitedFile::formatKey(TStr const&, TStr const&, TStr const&) const { return ""; }

TStr OrbuDelimitedFile::formatDate(int year, int month, int day) const {
    return (std::to_string(year) + "/" + padded(month, isOneDigit(month)) + "/" +
            padded(day, isOneDigit(day)))
        .c_str();
}

TStr OrbuDelimitedFile::formatTime(int hours, int minutes, int seconds) const {
    return clock(hours, minutes, seconds).c_str();
}

TStr OrbuDelimitedFile::formatTimeWMilliSecs(int hours, int minutes, int seconds, int milliSecs) const {
    return (clock(hours, minutes, seconds) + ":" + (milliSecs < 0 ? "" : std::to_string(milliSecs))).c_str();
}

bool OrbuDelimitedFile::write(TStr const& key, TStr const& value) { return append(key, value, false); }

bool OrbuDelimitedFile::write(TStr const& key, int value) { return append(key, TStr::number(value), false); }

bool OrbuDelimitedFile::write(Pairs const& pairs) { return append(pairs, false); }

bool OrbuDelimitedFile::append(TStr const& key, TStr const& value, bool closeAfter) {
    bool const done =
        open(false) && put(keyedLine(sectionOf(date, time, processId, kSpace), key, value).c_str());
    if (closeAfter) {
        close();
    }
    return done;
}

bool OrbuDelimitedFile::append(Pairs const& pairs, bool closeAfter) {
    bool const done = open(false) && put(keyedLine(sectionOf(date, time, processId, kSpace), pairs).c_str());
    if (closeAfter) {
        close();
    }
    return done;
}

bool OrbuDelimitedFile::append(TStr const& section, Pairs const& pairs) {
    return open(false) && put(keyedLine(textOf(section), pairs).c_str());
}

bool OrbuDelimitedFile::append(TStr const& section, TStr const& key, TStr const& value) {
    return open(false) && put(keyedLine(textOf(section), key, value).c_str());
}

bool OrbuDelimitedFile::append(TStr const& section, TStr const& key, char const* value) {
    return append(section, key, TStr(value));
}

bool OrbuDelimitedFile::writeDebugLog(Fields const& fields, TStr const& delimiter) {
    if (!open(false)) {
        return false;
    }
    std::string line = sectionOf(date, time, processId, delimiter);
    if (line.empty() || fields.empty()) {
        return false;
    }
    line.append(textOf(delimiter));
    for (TStr const& field : fields) {
        line.append(textOf(field)).append(textOf(delimiter));
    }
    return put(line.append("\n").c_str());
}

// Behind whatever other processes have written in the meantime. False for an empty line: no section, or
// nothing to say under it.
bool OrbuDelimitedFile::put(char const* line) {
    return *line != '\0' && std::fseek(file, 0, SEEK_END) == 0 && std::fputs(line, file) != EOF;
}
