#include "errorWindow.h"

#include <algorithm>
#include <gtkmm/button.h>
#include <gtkmm/image.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/textview.h>
#include <utility>

#include "plainText.h"
#include "widgets.h"

namespace {

constexpr std::size_t kMostShown = 100000;
constexpr long kLongestLine = 1000;
// A detail that is longer gets all the room there is for it, without being measured first.
constexpr std::size_t kMostMeasured = 4000;
constexpr int kLeastHeight = 64;
constexpr int kMostHeight = 260;
constexpr double kDetailShare = 0.4;
constexpr int kPadding = 20; // of the text view, above and below
constexpr int kSpacing = 8;

int detailHeight(std::string const& text, std::string const& locale, int width) {
    int const most = std::clamp(share(kDetailShare), kLeastHeight, kMostHeight);
    if (text.size() > kMostMeasured) {
        return most;
    }
    Gtk::Label* const label = makeLabel(text, locale);
    Gtk::Box holder;
    holder.append(*label);
    return std::clamp(heightOf(*label, width - kPadding) + kPadding, kLeastHeight, most);
}

Gtk::Button* makeCopyButton(std::string const& word, std::string const& locale) {
    auto* const button = Gtk::make_managed<Gtk::Button>();
    auto* const box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::HORIZONTAL, kSpacing);
    auto* const image = Gtk::make_managed<Gtk::Image>();
    image->set_from_icon_name("edit-copy-symbolic");
    setAccessibleHidden(*image);
    box->append(*image);
    box->append(*makeLabel(word, locale));
    button->set_child(*box);
    button->set_halign(Gtk::Align::START);
    setAccessibleName(*button, word);
    return button;
}

} // namespace

ErrorWindow::ErrorWindow(Dialog const& dialog, Texts& texts, Answered answered)
    : DialogWindow(dialog, {texts.get(dialog.locale, "close")}, texts, std::move(answered)),
      detail_(validText(dialog.detail)) {
    if (!detail_.empty()) {
        addDetail(texts);
    }
}

std::string ErrorWindow::wholeMessage() const {
    std::string const title = DialogWindow::wholeMessage();
    return detail_.empty() ? title : title + "\n\n" + detail_;
}

void ErrorWindow::addDetail(Texts& texts) {
    std::string const word = texts.get(locale(), "details");
    std::string const shown = shortLines(shortText(detail_, kMostShown), kLongestLine);

    auto* const view = Gtk::make_managed<Gtk::TextView>();
    view->set_editable(false);
    view->set_cursor_visible(false);
    view->set_accepts_tab(false);
    view->set_wrap_mode(Gtk::WrapMode::WORD_CHAR);
    setAccessibleName(*view, word);
    auto const buffer = view->get_buffer();
    auto const language = buffer->create_tag();
    language->property_language() = pangoLanguage(locale());
    buffer->insert_with_tag(buffer->begin(), shown, language);
    buffer->place_cursor(buffer->begin());

    auto* const scroller = Gtk::make_managed<Gtk::ScrolledWindow>();
    scroller->set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    scroller->set_overlay_scrolling(false);
    scroller->set_has_frame();
    scroller->add_css_class("detail");
    scroller->set_size_request(-1, detailHeight(shown, locale(), columnWidth()));
    scroller->set_vexpand();
    scroller->set_child(*view);

    auto* const copyAll = makeCopyButton(texts.get(locale(), "copy_all"), locale());
    copyAll->signal_clicked().connect([this] { copyText(*this, detail_); });

    auto* const box = Gtk::make_managed<Gtk::Box>(Gtk::Orientation::VERTICAL, kSpacing);
    box->set_margin_top(kSpacing);
    box->append(*scroller);
    box->append(*copyAll);

    auto* const label = makeLabel(word, locale());
    label->set_margin_start(kSpacing / 2);
    expander_.set_label_widget(*label);
    expander_.set_child(*box);
    setAccessibleName(expander_, word);
    setDirectionOfAll(expander_, directionOf(locale()));
    setDirectionOfAll(*box, directionOf(locale())); // which the expander holds only while it is open
    column().append(expander_);

    // A window that cannot be resized takes the size of what it holds, so that closing the details makes it
    // small again; while they are open a reader may want to have more of them.
    expander_.property_expanded().signal_changed().connect([this] {
        bool const open = expander_.get_expanded();
        expander_.set_vexpand(open);
        set_resizable(open);
        if (!open) {
            set_default_size(-1, -1); // forgets the size that it was given by hand
        }
    });
}
