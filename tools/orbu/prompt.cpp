#include "prompt.h"

#include "duration.h"
#include "exitCodes.h"
#include "interruption.h"
#include "terminal.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <strings.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

struct Limit {
    explicit Limit(watchdog::Duration given)
        : length(given), end(given == watchdog::kForever ? Clock::time_point::max() : Clock::now() + given) {}

    // As poll() takes it.
    int milliseconds() const {
        if (end == Clock::time_point::max()) {
            return -1;
        }
        long const left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        return static_cast<int>(std::clamp<long>(left, 0, INT_MAX));
    }

    watchdog::Duration length;
    Clock::time_point end;
};

class Terminal {
public:
    Terminal() : fd_(::open("/dev/tty", O_RDWR | O_CLOEXEC | O_NOCTTY)) {}
    ~Terminal() {
        if (fd_ >= 0) {
            ::close(fd_);
        }
    }
    Terminal(Terminal const&) = delete;
    Terminal& operator=(Terminal const&) = delete;

    bool there() const { return fd_ >= 0; }

    void show(std::string_view text) const {
        while (!text.empty()) {
            ssize_t const written = ::write(fd_, text.data(), text.size());
            if (written < 0 && errno != EINTR) {
                throw Failure(ExitFailed,
                              std::string("cannot write to the terminal: ") + std::strerror(errno));
            }
            text.remove_prefix(written > 0 ? static_cast<size_t>(written) : 0);
        }
    }

    // One line without its end; none at the end of the input. Throws Failure when the limit has passed.
    std::optional<std::string> line(Limit const& limit) {
        for (;;) {
            size_t const length = pending_.find('\n');
            if (length != std::string::npos) {
                std::string const line = pending_.substr(0, length);
                pending_.erase(0, length + 1);
                return line;
            }
            wait(limit);
            char piece[512];
            ssize_t const got = ::read(fd_, piece, sizeof piece);
            if (got == 0 || (got < 0 && errno != EINTR)) {
                return std::nullopt;
            }
            pending_.append(piece, got > 0 ? static_cast<size_t>(got) : 0);
        }
    }

private:
    void wait(Limit const& limit) const {
        pollfd descriptor = {fd_, POLLIN, 0};
        for (;;) {
            int const ready = ::poll(&descriptor, 1, limit.milliseconds());
            if (ready > 0 || (ready < 0 && errno != EINTR)) {
                return;
            }
            if (ready == 0 && Clock::now() >= limit.end) {
                show("\n");
                throw Failure(ExitUnanswered,
                              "nobody answered the dialog within " + duration_text(limit.length));
            }
        }
    }

    int fd_;
    std::string pending_;
};

// The index of the button that `text` means.
std::optional<size_t> choice(std::vector<std::string> const& buttons, std::string const& text) {
    for (size_t i = 0; i < buttons.size(); ++i) {
        if (buttons[i] == text) {
            return i;
        }
    }
    size_t number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error == std::errc() && end == text.data() + text.size()) {
        return number >= 1 && number <= buttons.size() ? std::optional<size_t>(number - 1) : std::nullopt;
    }
    std::optional<size_t> found;
    for (size_t i = 0; i < buttons.size(); ++i) {
        if (::strncasecmp(buttons[i].c_str(), text.c_str(), text.size()) == 0) {
            if (found) {
                return std::nullopt;
            }
            found = i;
        }
    }
    return found;
}

std::string trimmed(std::string const& text) {
    size_t const first = text.find_first_not_of(" \t\r");
    return first == std::string::npos ? "" : text.substr(first, text.find_last_not_of(" \t\r") + 1 - first);
}

size_t choose(Terminal& terminal, Prompt const& prompt, Limit const& limit) {
    for (size_t i = 0; i < prompt.buttons.size(); ++i) {
        terminal.show("  " + std::to_string(i + 1) + "  " + one_line(prompt.buttons[i]) + "\n");
    }
    for (;;) {
        terminal.show("[" + std::to_string(prompt.focus + 1) + "]: ");
        auto const line = terminal.line(limit);
        if (!line) {
            terminal.show("\n");
            return prompt.buttons.size() - 1;
        }
        std::string const text = trimmed(*line);
        if (auto const chosen = text.empty() ? prompt.focus : choice(prompt.buttons, text)) {
            return *chosen;
        }
        terminal.show("That names none of these buttons. Type a number or a label.\n");
    }
}

} // namespace

std::optional<size_t> ask_on_terminal(Prompt const& prompt, watchdog::Duration limit) {
    Terminal terminal;
    if (!terminal.there()) {
        return std::nullopt;
    }
    interruption::start();
    std::string const detail = prompt.detail.empty() ? "" : printable(prompt.detail) + "\n";
    terminal.show(printable(prompt.caption) + "\n" + printable(prompt.title) + "\n" + detail);
    return prompt.buttons.empty() ? 0 : choose(terminal, prompt, Limit(limit));
}
