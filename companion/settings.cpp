#include "settings.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>

char const* const usageText =
    R"(usage: QMX [--help | --version]

The companion server of the library: shows the dialogs of one host. It is started by the library on demand and told
everything in the environment:

  PROCESS_ARGUMENTS      the prefix: the directory of the server's FIFOs, as it stands
  ORBU_QMX_IDLE          how long to stay with no client: 500ms, 20s, 2min or never (default: 30s)
  ORBU_QMX_LOG           file to which the messages of the transport are appended (default: none)
  ORBU_QMX_PRESENTER     what shows the dialogs: windows, headless, or auto (the default), see below
  ORBU_QMX_ANSWERS       how dialogs are answered without a display: rules, separated by semicolons or line ends
  ORBU_QMX_ANSWERS_FILE  file with such rules, read anew for each dialog; they come before the others

With auto, dialogs are windows when there is a display (WAYLAND_DISPLAY or DISPLAY) that can be opened, and no rules are
set; otherwise they are answered as the rules say. With windows, a server that has no display ends. The windows come from
PlugIns/windows.so in the bundle; they are drawn by GTK's cairo renderer unless GSK_RENDERER says otherwise.

A rule is a line of words. The first rule that fits a dialog is taken; where none fits, the button with the focus is
pressed at once.

  for=CODE        fits dialogs of this request only: ErrorDialog or MessageBox
  caption=TEXT    fits dialogs with this caption only (no blanks)
  after=DURATION  answers after this time
  button=N        answers with button N, counted from 0
  never           never answers
  exit=CODE       the server exits in the middle, as if it had crashed: its files stay

  ORBU_QMX_ANSWERS='for=MessageBox after=200ms button=1; never'

The server ends in an orderly way on SIGTERM, SIGINT or SIGHUP, when its host is gone (the process whose id closes a
prefix like /var/tmp/QMX4242; other prefixes have no host), when it has had no client for a while, and when the display
that it shows windows on goes away.

Exit codes: 0 ended in an orderly way, 2 usage, 3 another server has the prefix, or it cannot be used, 4 the display went
away, or there is none to show windows on; everything else was ended in an orderly way then, too.
)";

std::optional<long> parseNumber(std::string const& text) {
    long value = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size()) {
        return std::nullopt;
    }
    return value;
}

std::optional<Milliseconds> parseDuration(std::string const& text) {
    static constexpr struct {
        char const* unit;
        long milliseconds;
    } units[] = {{"ms", 1}, {"s", 1000}, {"min", 60000}};

    size_t const digits = text.find_first_not_of("0123456789");
    if (digits == 0 || digits > 8 || digits == std::string::npos) {
        return std::nullopt;
    }
    for (auto const& unit : units) {
        if (text.substr(digits) == unit.unit) {
            return Milliseconds(*parseNumber(text.substr(0, digits)) * unit.milliseconds);
        }
    }
    return std::nullopt;
}

std::optional<Settings> readSettings() {
    auto const variable = [](char const* name, char const* otherwise = "") {
        char const* const value = std::getenv(name);
        return std::string(value != nullptr && *value != '\0' ? value : otherwise);
    };
    Settings settings;
    settings.prefix = variable("PROCESS_ARGUMENTS");
    settings.answers = variable("ORBU_QMX_ANSWERS");
    settings.answersFile = variable("ORBU_QMX_ANSWERS_FILE");
    settings.log = variable("ORBU_QMX_LOG");
    if (settings.prefix.empty()) {
        std::fputs("QMX: no prefix: PROCESS_ARGUMENTS is not set (see QMX --help)\n", stderr);
        return std::nullopt;
    }
    settings.display = !variable("WAYLAND_DISPLAY").empty() || !variable("DISPLAY").empty();
    std::string const shows = variable("ORBU_QMX_PRESENTER", "auto");
    if (shows == "windows") {
        settings.shows = Shows::Windows;
    } else if (shows == "headless") {
        settings.shows = Shows::Headless;
    } else if (shows != "auto") {
        std::fprintf(stderr, "QMX: ORBU_QMX_PRESENTER: \"%s\" is none of auto, windows, headless\n",
                     shows.c_str());
        return std::nullopt;
    }
    std::string const idle = variable("ORBU_QMX_IDLE", "30s");
    if (idle == "never") {
        settings.idle = Milliseconds(-1);
    } else if (auto const duration = parseDuration(idle)) {
        settings.idle = *duration;
    } else {
        std::fprintf(stderr, "QMX: ORBU_QMX_IDLE: \"%s\" is no duration like 500ms, 20s or 2min\n",
                     idle.c_str());
        return std::nullopt;
    }
    return settings;
}
