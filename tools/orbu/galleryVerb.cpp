// orbu gallery: pictures of every dialog in every locale.
#include "command.h"
#include "conversation.h"
#include "dialogVerbs.h"
#include "exitCodes.h"
#include "presenter.h"
#include "terminal.h"
#include "words.h"

#include <CLI/CLI.hpp>

#include <filesystem>
#include <memory>
#include <unistd.h>

namespace {

constexpr char kExamples[] =
    R"(Writes a PNG file for each dialog, locale and appearance (light and dark), for translators and for review. It needs the
companion's windows; without a display it makes a virtual one for itself.

Examples:
  orbu gallery --out pictures
  orbu gallery --out pictures --locale de_DE --locale ja_JP)";

constexpr int kNotWritten = 1; // what qmxgallery ends with then

int make_gallery(std::string const& folder, std::vector<std::string> const& locales) {
    auto const programs = std::filesystem::path(default_server()).parent_path();
    std::string const maker = programs / "qmxgallery";
    std::string const with_display = programs.parent_path() / "Resources" / "with-display";
    if (::access(maker.c_str(), X_OK) != 0) {
        throw Failure(ExitNoDisplay, "this companion has no windows: there is no " + maker);
    }
    std::vector<std::string> command = {maker, "--out", folder};
    for (std::string const& locale : locales) {
        command.insert(command.end(), {"--locale", dialog_locale(locale)});
    }
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    if (error) {
        throw Failure(ExitFailed, "cannot make " + one_line(folder) + ": " + error.message());
    }
    int code = ExitNoDisplay;
    if (has_display()) {
        code = run_command(command);
    }
    // A display that is named but cannot be opened is none.
    if (code == ExitNoDisplay && ::access(with_display.c_str(), X_OK) == 0) {
        std::vector<std::string> virtually = {with_display};
        virtually.insert(virtually.end(), command.begin(), command.end());
        code = run_command(virtually);
    }
    if (code == ExitNoDisplay) {
        tell("there is no display, and no virtual one can be had; install Xvfb");
    }
    return code == kNotWritten ? ExitFailed : code;
}

} // namespace

void add_gallery_verb(CLI::App& app, Action& action) {
    struct Arguments {
        std::string folder;
        std::vector<std::string> locales;
    };
    auto const arguments = std::make_shared<Arguments>();
    CLI::App* const verb =
        app.add_subcommand("gallery", "Make pictures of every dialog in every locale, light and dark");
    verb->footer(kExamples);
    verb->add_option("--out", arguments->folder, "The folder for the pictures, made when it is missing")
        ->type_name("DIR")
        ->required();
    verb->add_option("--locale", arguments->locales, "Only this locale; again for each one (default: all)")
        ->type_name("LOCALE");
    verb->callback([arguments, &action] {
        action = [arguments] { return make_gallery(arguments->folder, arguments->locales); };
    });
}
