#include "dialogWindow.h"

#include <algorithm>
#include <gtkmm/button.h>
#include <gtkmm/grid.h>
#include <gtkmm/icontheme.h>
#include <gtkmm/image.h>
#include <gtkmm/label.h>
#include <gtkmm/shortcut.h>
#include <gtkmm/shortcutaction.h>
#include <gtkmm/shortcutcontroller.h>
#include <gtkmm/shortcuttrigger.h>
#include <pangomm/attributes.h>
#include <pangomm/attrlist.h>
#include <utility>

#include "plainText.h"
#include "widgets.h"

namespace {

constexpr std::size_t kLongestCaption = 200;
constexpr std::size_t kLongestTitle = 4000;
// A first line of up to so many characters is a headline; a longer one is read more easily as it is.
constexpr glong kLongestHeadline = 160;
constexpr double kHeadlineScale = 1.12;

constexpr int kMargin = 24;
constexpr int kIconWidth = 48;
constexpr int kSpacing = 18;
constexpr int kButtonSpacing = 8;
constexpr int kLeastColumn = 320;
constexpr int kMostColumn = 480;
constexpr int kMostWordCharacters = 40;

// Shares of the flexible height (see Room); what is left is for details.
constexpr double kHeadlineShare = 0.4;
constexpr double kButtonsShare = 0.3;

void emphasizeHeadline(Gtk::Label& label, std::string const& title, std::string const& locale) {
    std::string const line = title.substr(0, title.find('\n'));
    if (g_utf8_strlen(line.c_str(), -1) > kLongestHeadline) {
        return;
    }
    Pango::AttrList attributes;
    auto language = Pango::Attribute::create_attr_language(Pango::Language(pangoLanguage(locale)));
    auto weight = Pango::Attribute::create_attr_weight(Pango::Weight::BOLD);
    auto scale = Pango::Attribute::create_attr_scale(kHeadlineScale);
    weight.set_end_index(static_cast<unsigned>(line.size()));
    scale.set_end_index(static_cast<unsigned>(line.size()));
    attributes.insert(language);
    attributes.insert(weight);
    attributes.insert(scale);
    label.set_attributes(attributes);
}

Gtk::Button* makeButton(std::string const& word, std::string const& locale) {
    auto* const label = makeLabel(word, locale);
    label->set_max_width_chars(kMostWordCharacters);
    label->set_xalign(0.5F);
    label->set_justify(Gtk::Justification::CENTER);
    auto* const button = Gtk::make_managed<Gtk::Button>();
    button->add_css_class("dialog-button");
    button->set_child(*label);
    setAccessibleName(*button, word);
    return button;
}

} // namespace

DialogWindow::DialogWindow(Dialog const& dialog, std::vector<std::string> const& words, Texts& texts,
                           Answered answered)
    : answered_(std::move(answered)), locale_(dialog.locale), title_(validText(dialog.title)) {
    std::string caption = oneLine(dialog.caption, kLongestCaption);
    if (caption.empty()) {
        caption = texts.get(locale_, captionId(dialog.icon));
    }
    set_title(caption);
    add_css_class("dialog-window");
    set_resizable(false);
    setAccessibleRole(*this, Gtk::Accessible::Role::ALERT_DIALOG);
    setAccessibleName(*this, caption);

    content_.add_css_class("content");
    content_.set_spacing(kMargin);
    top_.set_spacing(kSpacing);
    column_.set_spacing(kSpacing);
    column_.set_hexpand();
    top_.set_vexpand();
    content_.append(top_);
    set_child(*boundWindow(content_));
    addIcon(dialog, texts);
    top_.append(column_);
    addHeadline(dialog);
    addButtons(words, dialog.focus);
    addKeys();
    setDirectionOfAll(*this, directionOf(locale_));

    lastButton_ = static_cast<long>(words.size()) - 1;
    signal_close_request().connect(
        [this] {
            answer(lastButton_);
            return true;
        },
        false);
}

void DialogWindow::addIcon(Dialog const& dialog, Texts& texts) {
    char const* const name = iconName(dialog.icon);
    if (!name) {
        return;
    }
    auto* const image = Gtk::make_managed<Gtk::Image>();
    image->set_from_icon_name(name);
    image->add_css_class("icon");
    image->add_css_class(name);
    image->set_valign(Gtk::Align::START);
    setAccessibleName(*image, texts.get(locale_, captionId(dialog.icon)));
    top_.append(*image);
}

void DialogWindow::addHeadline(Dialog const& dialog) {
    std::string const title = shortText(dialog.title, kLongestTitle);
    Room const room = roomOnScreen();
    int const beside = 2 * kMargin + (iconName(dialog.icon) ? kIconWidth + kSpacing : 0);

    headline_ = makeLabel(title, locale_);
    emphasizeHeadline(*headline_, title, locale_);
    // Can be selected by the pointer, and is no stop on the way to the buttons.
    headline_->set_selectable();
    headline_->set_can_focus(false);
    headline_->set_yalign(0);

    int const most = std::min(kMostColumn, room.width - beside);
    int const least = std::min(dialog.detail.empty() ? kLeastColumn : kMostColumn, most);
    columnWidth_ = std::clamp(widthOf(*headline_), least, most);
    column_.set_size_request(columnWidth_, -1);
    headline_->set_max_width_chars(1);
    headline_->set_hexpand();
    headline_->set_visible(!title.empty()); // an empty label would be read out as a label
    column_.append(*boundHeight(*headline_, columnWidth_, share(kHeadlineShare), title));

    setAccessibleDescription(*this, title);
    setDescribedBy(*this, *headline_);
}

void DialogWindow::addButtons(std::vector<std::string> const& words, long focus) {
    std::vector<Gtk::Button*> buttons;
    int widest = 0;
    int sum = -kButtonSpacing;
    for (std::string const& word : words) {
        Gtk::Button* const button = makeButton(word, locale_);
        button->signal_clicked().connect(
            [this, index = static_cast<long>(buttons.size())] { answer(index); });
        buttons.push_back(button);
        widest = std::max(widest, widthOf(*button));
        sum += widthOf(*button) + kButtonSpacing;
    }

    // One row at the end if it fits, else equal columns, as many as there is room for, and as even as can be.
    Room const room = roomOnScreen();
    int const width = std::min(room.width, kMostColumn + kIconWidth + kSpacing + 2 * kMargin) - 2 * kMargin;
    int const count = static_cast<int>(buttons.size());
    bool const isOneRow = sum <= width;
    int const most = std::clamp((width + kButtonSpacing) / (widest + kButtonSpacing), 1, count);
    int const rows = isOneRow ? 1 : (count + most - 1) / most;
    int const columns = (count + rows - 1) / rows;
    auto* const grid = Gtk::make_managed<Gtk::Grid>();
    grid->set_column_spacing(kButtonSpacing);
    grid->set_row_spacing(kButtonSpacing);
    grid->set_column_homogeneous(!isOneRow);
    grid->set_halign(isOneRow ? Gtk::Align::END : Gtk::Align::FILL);
    // Their least width would wrap the labels, and the window would be as high as if they were.
    grid->set_size_request(
        isOneRow ? sum : std::min(width, columns * (widest + kButtonSpacing) - kButtonSpacing), -1);
    for (int i = 0; i < count; ++i) {
        grid->attach(*buttons[static_cast<std::size_t>(i)], i % columns, i / columns);
    }

    bool const isInRange = focus >= 0 && focus < count;
    Gtk::Button* const first = buttons[isInRange ? static_cast<std::size_t>(focus) : 0];
    first->add_css_class("suggested-action");
    content_.append(*boundHeight(*grid, width, share(kButtonsShare), get_title(), first));
    set_default_widget(*first);
    set_focus(*first);
}

void DialogWindow::addKeys() {
    auto const keys = Gtk::ShortcutController::create();
    auto const add = [&keys](guint key, Gdk::ModifierType modifiers, std::function<bool()> const& action) {
        keys->add_shortcut(Gtk::Shortcut::create(
            Gtk::KeyvalTrigger::create(key, modifiers),
            Gtk::CallbackAction::create(
                [action](Gtk::Widget&, Glib::VariantBase const&) { return action(); })));
    };
    add(GDK_KEY_Escape, Gdk::ModifierType(), [this] {
        answer(lastButton_);
        return true;
    });
    add(GDK_KEY_c, Gdk::ModifierType::CONTROL_MASK, [this] {
        copy();
        return true;
    });
    add_controller(keys);
}

void DialogWindow::answer(long button) {
    if (auto const answered = std::exchange(answered_, nullptr)) {
        answered(button);
    }
}

void DialogWindow::dismiss() {
    answered_ = nullptr;
    set_visible(false);
}

void DialogWindow::copy() {
    int start = 0;
    int end = 0;
    Glib::ustring const shown = headline_->get_text();
    bool const isSelected = headline_->get_selection_bounds(start, end);
    copyText(*this, isSelected ? shown.substr(static_cast<Glib::ustring::size_type>(start),
                                              static_cast<Glib::ustring::size_type>(end - start))
                               : Glib::ustring(wholeMessage()));
}
