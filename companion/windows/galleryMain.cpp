// qmxgallery: a picture of every dialog in every language, for those who translate and those who look.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtkmm/headerbar.h>
#include <gtkmm/settings.h>
#include <memory>
#include <string>
#include <vector>

#include "errorWindow.h"
#include "messageWindow.h"
#include "orbuutil/c_list.h"
#include "picture.h"
#include "qmx/qmxTranslator.h"
#include "resourceFolders.h"
#include "texts.h"
#include "toolkit.h"
#include "waitWindow.h"
#include "widgets.h"

namespace {

enum ExitCode { ExitDone = 0, ExitFailed = 1, ExitUsage = 2, ExitNoDisplay = 8 };

constexpr char kUsage[] = R"(usage: qmxgallery --out DIR [--locale LOCALE]...

Draws the companion's dialogs into DIR: error (closed and with its details), message box and wait dialog, in
every language or in those named, light and dark. The files are called error-de_DE-dark.png and so on.

Needs a display: `with-display qmxgallery ...` brings one of its own.
Exit codes: 0 done, 1 a picture could not be written, 2 usage, 8 no display.
)";

std::vector<std::string> admittedLocales() {
    std::vector<std::string> locales;
    TList<TStr> const admitted = QMXTranslatorCache::availableLocales();
    for (TListIterator<TStr> locale(admitted.handle(), list_head(admitted.handle())); !locale.isEnd();
         locale.next()) {
        locales.emplace_back((*locale).toUtf8());
    }
    std::sort(locales.begin(), locales.end());
    return locales;
}

struct Options {
    std::filesystem::path out;
    std::vector<std::string> locales;
    bool help = false;
};

// False, and a message on standard error, for a command line that cannot be understood.
bool readOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        std::string const option = argv[i];
        if (option == "--help") {
            options.help = true;
            return true;
        }
        bool const isOut = option == "--out";
        if ((!isOut && option != "--locale") || i + 1 == argc) {
            std::fprintf(stderr, "qmxgallery: no such option, or no value: %s\n", option.c_str());
            return false;
        }
        std::string const value = argv[++i];
        if (isOut) {
            options.out = value;
        } else if (normalLocale(value).empty()) {
            std::fprintf(stderr, "qmxgallery: not a locale: %s\n", value.c_str());
            return false;
        } else {
            options.locales.push_back(normalLocale(value));
        }
    }
    if (options.out.empty()) {
        std::fputs("qmxgallery: --out DIR is needed (see qmxgallery --help)\n", stderr);
        return false;
    }
    if (options.locales.empty()) {
        options.locales = admittedLocales();
    }
    return true;
}

class Gallery {
public:
    explicit Gallery(std::filesystem::path out) : out_(std::move(out)), texts_(resourceFolders()) {}

    // False when a picture could not be written.
    bool draw(std::string const& locale, bool dark);
    int count() const { return count_; }

private:
    bool save(Gtk::Window& window, std::string const& kind, std::string const& suffix);

    std::filesystem::path out_;
    Texts texts_;
    int count_ = 0;
};

bool Gallery::save(Gtk::Window& window, std::string const& kind, std::string const& suffix) {
    std::string const path = out_ / (kind + suffix);
    if (!window.get_titlebar()) {
        // A frame of the toolkit's own, so that the caption is in the picture.
        auto* const bar = Gtk::make_managed<Gtk::HeaderBar>();
        bar->set_decoration_layout(":close");
        window.set_titlebar(*bar);
    }
    if (!savePicture(window, path)) {
        std::fprintf(stderr, "qmxgallery: cannot write %s\n", path.c_str());
        return false;
    }
    ++count_;
    return true;
}

bool Gallery::draw(std::string const& locale, bool dark) {
    Gtk::Settings::get_default()->property_gtk_application_prefer_dark_theme() = dark;
    std::string const suffix = "-" + locale + (dark ? "-dark" : "-light") + ".png";
    auto const nobody = [](long) {};

    Dialog dialog;
    dialog.locale = locale;
    dialog.title = texts_.get(locale, "sample_title");
    dialog.detail = texts_.get(locale, "sample_detail");
    dialog.icon = 1;
    ErrorWindow error(dialog, texts_, nobody);
    bool drawn = save(error, "error", suffix);
    error.expand();
    drawn = save(error, "error-expanded", suffix) && drawn;
    error.dismiss();

    dialog.kind = Dialog::Kind::MessageBox;
    dialog.detail.clear();
    dialog.icon = 3;
    dialog.buttons = {texts_.get(locale, "cancel"), texts_.get(locale, "retry")};
    dialog.focus = 1;
    MessageWindow message(dialog, texts_, nobody);
    drawn = save(message, "message", suffix) && drawn;
    message.dismiss();

    auto const wait = makeWaitWindow(texts_, locale);
    return save(*wait, "wait", suffix) && drawn;
}

} // namespace

int main(int argc, char** argv) {
    Options options;
    if (!readOptions(argc, argv, options)) {
        return ExitUsage;
    }
    if (options.help) {
        std::fputs(kUsage, stdout);
        return ExitDone;
    }
    ::setenv("GSK_RENDERER", "cairo", 0);
    if (!startToolkit()) {
        std::fputs("qmxgallery: there is no display\n", stderr);
        return ExitNoDisplay;
    }
    loadStyle();
    // Pictures are still.
    Gtk::Settings::get_default()->property_gtk_enable_animations() = false;

    std::error_code error;
    std::filesystem::create_directories(options.out, error);
    Gallery gallery(options.out);
    bool drawn = true;
    for (std::string const& locale : options.locales) {
        for (bool const dark : {false, true}) {
            drawn = gallery.draw(locale, dark) && drawn;
        }
    }
    std::printf("%d pictures in %s\n", gallery.count(), options.out.c_str());
    return drawn ? ExitDone : ExitFailed;
}
