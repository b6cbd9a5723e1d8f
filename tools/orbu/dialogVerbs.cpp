// orbu error and orbu ask: a dialog of the companion, or a prompt at the terminal where there is no display.
#include "dialogVerbs.h"

#include "attributes.h"
#include "exitCodes.h"
#include "options.h"
#include "presenter.h"
#include "prompt.h"
#include "qmx/qmxPipePacket.h"
#include "terminal.h"
#include "words.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <memory>
#include <unistd.h>
#include <utility>

namespace {

constexpr size_t kMostButtons = 16; // that a message box has
// A line that a FIFO takes in one piece arrives whole: these parts of it leave room for the rest.
constexpr size_t kMostCaption = 1 << 10;
constexpr size_t kMostTitle = 8 << 10;
constexpr size_t kMostLabel = 512;
constexpr size_t kMostDetail = 40 << 10;

constexpr char kIconWords[] =
    "error, question, warning, information, none, or a number that the server knows";

constexpr char kErrorExamples[] =
    R"(Waits until the dialog is closed. Without a display the text is shown on the terminal; with no terminal either, the
exit code is 8. Texts are plain; "-" takes one from standard input.

Examples:
  orbu error --title "The disk is full"
  make 2>&1 | tail -50 | orbu error --title "The build failed" --detail -
  orbu error --title "Old settings" --icon warning --locale de_DE --timeout 1min)";

constexpr char kAskExamples[] =
    R"(Prints the label of the button that was pressed. The exit code is 0 for the first button, 1 for the second, 12 for
the third, 13 for the fourth and so on. Escape and closing the window count as the last button. Without a display
the question is asked on the terminal, by number or label, where the end of the input (Ctrl-D) counts as the last
button; with no terminal either, the exit code is 8. Where a script ends at the first failure (set -e), || takes up
what is not the first button.

Examples:
  orbu ask --title "Delete everything?" --button Yes --button No --focus No && rm -r everything
  answer=$(orbu ask --title "Save?" --button Save --button Discard --button Cancel --timeout 30s) || code=$?
  orbu ask --title "Go on?" --icon warning --button Continue --button Stop --json)";

constexpr char kWaitExamples[] =
    R"(After the options stands -- and then the command with its arguments, as they are.

The window comes when the command has run for a moment, and goes when it ends. The exit code is the command's: 128
and the signal's number when a signal ended it, 127 when there is no such command, 126 when it cannot be run. The
command runs in any case, also without a display. Ctrl-C reaches it as ever; SIGINT, SIGTERM, SIGHUP and SIGQUIT that
are sent to orbu are handed on.

Examples:
  orbu wait -- make -j4
  orbu wait --locale fr_FR -- sh -c 'sleep 3; exit 4')";

struct Icon {
    long number;
    char const* name;
    char const* caption;
};
constexpr Icon kIcons[] = {
    {1, "error", "caption_error"},
    {2, "question", "caption_question"},
    {3, "warning", "caption_warning"},
    {4, "information", "caption_information"},
};

struct Given {
    std::string caption;
    std::string title;
    std::string detail;
    std::string icon;
    std::string locale;
    std::vector<std::string> buttons;
    std::string focus;
    bool json = false;
    watchdog::Duration limit = watchdog::kForever;
};

long icon_number(std::string const& text) {
    std::string_view name = text;
    constexpr std::string_view kFamily = "dialog-";
    name.remove_prefix(name.starts_with(kFamily) ? kFamily.size() : 0);
    for (Icon const& icon : kIcons) {
        if (name == icon.name) {
            return icon.number;
        }
    }
    long number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (text != "none" && (error != std::errc() || end != text.data() + text.size())) {
        throw Failure(ExitUsage, "\"" + one_line(text) + "\" is no icon; there are " + kIconWords);
    }
    return number;
}

// A log may hold anything, and is shown all the same: what is no UTF-8 as U+FFFD, NUL as a blank.
std::string valid(std::string text) {
    std::replace(text.begin(), text.end(), '\0', ' ');
    constexpr auto kReplace = nlohmann::json::error_handler_t::replace;
    return nlohmann::json::parse(nlohmann::json(std::move(text)).dump(-1, ' ', false, kReplace))
        .get<std::string>();
}

std::string read_standard_input() {
    std::string text;
    char piece[4096];
    for (;;) {
        ssize_t const got = ::read(STDIN_FILENO, piece, sizeof piece);
        if (got < 0 && errno == EINTR) {
            continue;
        }
        if (got < 0) {
            throw Failure(ExitFailed, std::string("cannot read standard input: ") + std::strerror(errno));
        }
        if (got == 0) {
            text.erase(text.find_last_not_of('\n') + 1);
            return valid(std::move(text));
        }
        text.append(piece, static_cast<size_t>(got));
    }
}

// As much of the text as fits into `most` bytes on the wire, where most characters are longer than here.
std::string fitted(std::string const& text, size_t most, char const* what) {
    size_t wire = 0;
    for (size_t at = 0; at < text.size(); ++at) {
        auto const byte = static_cast<unsigned char>(text[at]);
        wire += std::isalnum(byte) != 0 || byte == '_' || byte == '-' ? 1 : 3;
        if (wire > most) {
            while (at > 0 && (static_cast<unsigned char>(text[at]) & 0xc0) == 0x80) {
                at -= 1;
            }
            tell(std::string(what) + " is cut: a dialog takes " + std::to_string(at) + " of its " +
                 std::to_string(text.size()) + " bytes");
            return text.substr(0, at) + "…";
        }
    }
    return text;
}

// The dialog with all that was left out of it.
struct Complete {
    Prompt prompt;
    std::string locale;
    long icon;
};

Complete complete(Given given, Icon const& usual) {
    if (given.title == "-" && given.detail == "-") {
        throw Failure(ExitUsage, "standard input gives one text, not two");
    }
    for (std::string* const text : {&given.title, &given.detail}) {
        if (*text == "-") {
            *text = read_standard_input();
        }
    }
    Complete dialog;
    dialog.locale = dialog_locale(given.locale);
    dialog.icon = given.icon.empty() ? usual.number : icon_number(given.icon);
    if (given.caption.empty()) {
        auto const* const icon = std::find_if(std::begin(kIcons), std::end(kIcons),
                                              [&](Icon const& one) { return one.number == dialog.icon; });
        given.caption = word(dialog.locale, (icon != std::end(kIcons) ? *icon : usual).caption);
    }
    dialog.prompt.caption = fitted(given.caption, kMostCaption, "the caption");
    dialog.prompt.title = fitted(given.title, kMostTitle, "the title");
    dialog.prompt.detail = fitted(given.detail, kMostDetail, "the detail");
    dialog.prompt.buttons = given.buttons;
    return dialog;
}

size_t focus_of(std::vector<std::string> const& buttons, std::string const& text) {
    auto const found = std::find(buttons.begin(), buttons.end(), text);
    if (!text.empty() && found == buttons.end()) {
        throw Failure(ExitUsage,
                      "no button has the label \"" + one_line(text) + "\", which is to have the focus");
    }
    return text.empty() ? 0 : static_cast<size_t>(found - buttons.begin());
}

// Sends the request and waits for its answer. False, and nothing was shown, when nobody would see it.
bool show(Options const& options, watchdog::Duration limit, QMXPipePacket& request, QMXPipePacket& response) {
    Observer observer;
    observer.trace = options.trace;
    Conversation conversation(options.place, kConnectLimit, observer);
    // What does not know the question is some other server, which shows dialogs in its own way.
    Shown const shown = ask_presenter(conversation);
    if (shown == Shown::Nobody || shown == Shown::Gone) {
        return false;
    }
    conversation.limit_dialog(limit);
    conversation.ask(request, response);
    conversation.end();
    return true;
}

Failure nobody_sees(Prompt const& prompt) {
    return {ExitNoDisplay, "no display and no terminal to show it: " + one_line(prompt.title)};
}

int error(Options const& options, Given const& given) {
    Complete const dialog = complete(given, kIcons[0]);
    Prompt const& prompt = dialog.prompt;
    QMXPipePacket request("orbu.ErrorDialog", nullptr, QMXPipe::Synchronous);
    QMXPipePacket response(QMXPipe::SynchronicityDefault);
    std::vector<std::string> attributes = {"selector=ErrorDialogBase",
                                           "locale=" + dialog.locale,
                                           "caption=" + prompt.caption,
                                           "title=" + prompt.title,
                                           "icon:=" + std::to_string(dialog.icon),
                                           std::string("enable_description=") +
                                               (prompt.detail.empty() ? "False" : "True")};
    if (!prompt.detail.empty()) {
        attributes.push_back("detail=" + prompt.detail);
    }
    set_attributes(request, attributes);
    if (!show(options, given.limit, request, response) && !ask_on_terminal(prompt, given.limit)) {
        throw nobody_sees(prompt);
    }
    return ExitDone;
}

// The index of the button that was pressed.
size_t pressed(Options const& options, Given const& given, Complete const& dialog) {
    Prompt const& prompt = dialog.prompt;
    QMXPipePacket request("qmx.MessageBox", nullptr, QMXPipe::Synchronous);
    QMXPipePacket response(QMXPipe::SynchronicityDefault);
    std::vector<std::string> attributes = {"caption=" + prompt.caption, "title=" + prompt.title,
                                           "locale=" + dialog.locale, "icon:=" + std::to_string(dialog.icon)};
    for (size_t i = 0; i < prompt.buttons.size(); ++i) {
        attributes.push_back("button_" + std::to_string(i) + "=" +
                             fitted(prompt.buttons[i], kMostLabel, "a label"));
    }
    attributes.push_back("focus_button_index:=" + std::to_string(prompt.focus));
    set_attributes(request, attributes);
    if (!show(options, given.limit, request, response)) {
        auto const chosen = ask_on_terminal(prompt, given.limit);
        if (!chosen) {
            throw nobody_sees(prompt);
        }
        return *chosen;
    }
    long const button =
        response.hasAttribute("selected_button") ? response.attributeAsLong("selected_button") : -1;
    if (button < 0 || static_cast<size_t>(button) >= prompt.buttons.size()) {
        throw Failure(ExitBadData, "the server's answer names none of the buttons");
    }
    return static_cast<size_t>(button);
}

int ask(Options const& options, Given const& given) {
    Complete dialog = complete(given, kIcons[1]);
    std::vector<std::string>& buttons = dialog.prompt.buttons;
    if (buttons.empty()) {
        buttons.push_back(word(dialog.locale, "ok"));
    }
    if (buttons.size() > kMostButtons) {
        throw Failure(ExitUsage, "a dialog has " + std::to_string(kMostButtons) + " buttons at most");
    }
    dialog.prompt.focus = focus_of(buttons, given.focus);

    size_t const button = pressed(options, given, dialog);
    std::string const& label = buttons[button];
    put(given.json ? nlohmann::ordered_json{{"button", button}, {"label", label}}.dump() + "\n"
                   : label + "\n");
    constexpr size_t kThird = 2;
    return static_cast<int>(button < kThird ? button : kThird * 5 + button);
}

CLI::App* add_verb(CLI::App& app, Options& options, std::string& locale, char const* name, char const* what,
                   char const* examples) {
    CLI::App* const verb = app.add_subcommand(name, what);
    verb->footer(examples);
    verb->add_option("--locale", locale,
                     "Language of what orbu and the companion add (default: the environment's)")
        ->type_name("LOCALE");
    add_server_options(*verb, options);
    return verb;
}

CLI::App* add_dialog(CLI::App& app, Options& options, Given& to, char const* name, char const* what,
                     char const* examples) {
    CLI::App* const verb = add_verb(app, options, to.locale, name, what, examples);
    verb->add_option("--title", to.title, "The text; - is standard input")->required();
    verb->add_option("--caption", to.caption, "The window's caption (default: a word that fits the icon)");
    verb->add_option("--icon", to.icon, kIconWords)->type_name("ICON");
    add_duration_option(*verb, "--timeout", to.limit, "Limit for the answer (default: none)");
    return verb;
}

} // namespace

void add_dialog_verbs(CLI::App& app, Options& options, std::vector<std::string> const& command,
                      Action& action) {
    auto const given = std::make_shared<Given>();
    CLI::App* verb = add_dialog(app, options, *given, "error", "Show an error dialog", kErrorExamples);
    verb->add_option("--detail", given->detail, "More text, which can be opened; - is standard input");
    verb->callback(
        [given, &options, &action] { action = [given, &options] { return error(options, *given); }; });

    verb = add_dialog(app, options, *given, "ask", "Ask a question and print the button that was pressed",
                      kAskExamples);
    // As a vector it would take a label in brackets apart.
    verb->add_option_function<std::string>(
            "--button",
            [given](std::string const& label) {
                if (label.empty()) {
                    throw CLI::ValidationError("--button", "the label is empty");
                }
                given->buttons.push_back(label);
            },
            "A button's label, again for each button (default: one OK button)")
        ->type_name("LABEL")
        ->trigger_on_parse();
    verb->add_option("--focus", given->focus, "Label of the button that Return presses (default: the first)")
        ->type_name("LABEL");
    verb->add_flag("--json", given->json, "Print {\"button\":INDEX,\"label\":LABEL}, counted from 0");
    verb->callback(
        [given, &options, &action] { action = [given, &options] { return ask(options, *given); }; });

    verb = add_verb(app, options, given->locale, "wait",
                    "Run the command behind -- and show the wait dialog meanwhile", kWaitExamples);
    verb->callback([given, &options, &command, &action] {
        if (command.empty()) {
            throw CLI::RequiredError("-- COMMAND");
        }
        action = [given, &options, &command] {
            return wait_for_command(options, dialog_locale(given->locale), command);
        };
    });
}
