#include "widgets.h"

#include <algorithm>
#include <gdkmm/clipboard.h>
#include <gdkmm/display.h>
#include <gdkmm/monitor.h>
#include <giomm/listmodel.h>
#include <gtkmm/adjustment.h>
#include <gtkmm/cssprovider.h>
#include <gtkmm/scrolledwindow.h>
#include <gtkmm/stylecontext.h>
#include <pangomm/attributes.h>
#include <pangomm/attrlist.h>

#include "plainText.h"
#include "texts.h"

namespace {

// Colours come from the theme, so that dark and high contrast ones keep their own.
constexpr char kStyle[] = R"(
window.dialog-window .content { padding: 24px; }
window.dialog-window .icon { -gtk-icon-size: 48px; -gtk-icon-style: symbolic; }
window.dialog-window .dialog-error { color: @error_color; }
window.dialog-window .dialog-warning { color: @warning_color; }
window.dialog-window .dialog-question,
window.dialog-window .dialog-information { color: @theme_selected_bg_color; }
button.dialog-button { min-width: 72px; padding: 6px 14px; }
window.dialog-window .detail { border-radius: 6px; }
window.dialog-window .detail textview { padding: 8px; }
window.dialog-window spinner { min-width: 28px; min-height: 28px; }
)";

constexpr Room kUnknownScreen{1024, 640};
// The frame of a window, and a panel or two.
constexpr int kFrameWidth = 32;
constexpr int kFrameHeight = 120;
constexpr Room kLeastRoom{160, 120};
constexpr int kBesideScrollbar = 10;
constexpr int kWidestUnbroken = 160;
constexpr int kFixedHeight = 220; // of all that does not give way in a dialog
constexpr int kLeastFlexible = 150;

struct Widths {
    int least;
    int natural;
};

Widths widthsOf(Gtk::Widget const& widget) {
    Widths widths{};
    int ignored = 0;
    widget.measure(Gtk::Orientation::HORIZONTAL, -1, widths.least, widths.natural, ignored, ignored);
    return widths;
}

} // namespace

Room roomOnScreen() {
    Room room = kUnknownScreen;
    auto const monitors = Gdk::Display::get_default()->get_monitors();
    for (guint i = 0; i < monitors->get_n_items(); ++i) {
        auto const monitor = std::dynamic_pointer_cast<Gdk::Monitor>(monitors->get_object(i));
        if (!monitor) {
            continue;
        }
        Gdk::Rectangle area;
        monitor->get_geometry(area);
        room.width = i == 0 ? area.get_width() : std::min(room.width, area.get_width());
        room.height = i == 0 ? area.get_height() : std::min(room.height, area.get_height());
    }
    return {std::max(room.width - kFrameWidth, kLeastRoom.width),
            std::max(room.height - kFrameHeight, kLeastRoom.height)};
}

int share(double part) {
    return static_cast<int>(std::max(roomOnScreen().height - kFixedHeight, kLeastFlexible) * part);
}

Gtk::Widget* boundWindow(Gtk::Widget& content) {
    int const most = roomOnScreen().height;
    if (most >= kFixedHeight + kLeastFlexible) {
        return &content;
    }
    auto* const scroller = Gtk::make_managed<Gtk::ScrolledWindow>();
    scroller->set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    scroller->set_overlay_scrolling(false);
    scroller->set_propagate_natural_height();
    scroller->set_max_content_height(most);
    scroller->set_child(content);
    return scroller;
}

void loadStyle() {
    auto const style = Gtk::CssProvider::create();
    style->load_from_data(kStyle);
    Gtk::StyleContext::add_provider_for_display(Gdk::Display::get_default(), style,
                                                GTK_STYLE_PROVIDER_PRIORITY_APPLICATION);
}

std::string pangoLanguage(std::string const& locale) {
    std::string const normal = normalLocale(locale);
    return normal.empty() ? std::string("en-us") : normal;
}

Gtk::Label* makeLabel(std::string const& text, std::string const& locale) {
    auto* const label = Gtk::make_managed<Gtk::Label>(text);
    label->set_wrap();
    // To measure an endless word by words takes the toolkit minutes.
    label->set_wrap_mode(hasEndlessWord(text) ? Pango::WrapMode::CHAR : Pango::WrapMode::WORD_CHAR);
    label->set_xalign(0);
    Pango::AttrList attributes;
    auto language = Pango::Attribute::create_attr_language(Pango::Language(pangoLanguage(locale)));
    attributes.insert(language);
    label->set_attributes(attributes);
    if (widthsOf(*label).least > kWidestUnbroken) {
        label->set_text(breakable(text));
    }
    return label;
}

int widthOf(Gtk::Widget const& widget) { return widthsOf(widget).natural; }

int heightOf(Gtk::Widget const& widget, int width) {
    int least = 0;
    int natural = 0;
    int ignored = 0;
    widget.measure(Gtk::Orientation::VERTICAL, width, least, natural, ignored, ignored);
    return natural;
}

Gtk::Widget* boundHeight(Gtk::Widget& widget, int width, int most, std::string const& name,
                         Gtk::Widget* shown) {
    if (heightOf(widget, width) <= most) {
        return &widget;
    }
    auto* const scroller = Gtk::make_managed<Gtk::ScrolledWindow>();
    scroller->set_policy(Gtk::PolicyType::NEVER, Gtk::PolicyType::AUTOMATIC);
    scroller->set_overlay_scrolling(false); // says that there is more
    scroller->set_size_request(width, most);
    scroller->set_vexpand();
    scroller->set_focusable();
    scroller->set_child(widget);
    widget.set_margin_end(kBesideScrollbar);
    setAccessibleName(*scroller, name);
    if (shown) {
        scroller->add_tick_callback([scroller, shown](Glib::RefPtr<Gdk::FrameClock> const&) {
            graphene_rect_t bounds;
            bool const isPlaced =
                shown->get_height() > 0 &&
                gtk_widget_compute_bounds(shown->gobj(), GTK_WIDGET(scroller->gobj()), &bounds);
            if (isPlaced) {
                auto const position = scroller->get_vadjustment();
                double const top = position->get_value() + bounds.origin.y;
                position->clamp_page(top, top + bounds.size.height);
            }
            return !isPlaced;
        });
    }
    return scroller;
}

void copyText(Gtk::Widget& widget, std::string const& text) {
    auto const clipboard = widget.get_clipboard();
    clipboard->set_text(text);
    // Where nobody keeps it, it lasts as long as this program, and there is nothing to be done about it.
    auto const stored = [](GObject* source, GAsyncResult* result, gpointer) {
        gdk_clipboard_store_finish(GDK_CLIPBOARD(source), result, nullptr);
    };
    gdk_clipboard_store_async(clipboard->gobj(), G_PRIORITY_DEFAULT, nullptr, stored, nullptr);
}

void setAccessibleName(Gtk::Widget& widget, std::string const& name) {
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_PROPERTY_LABEL, name.c_str(),
                                   -1);
}

void setAccessibleDescription(Gtk::Widget& widget, std::string const& description) {
    gtk_accessible_update_property(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_PROPERTY_DESCRIPTION,
                                   description.c_str(), -1);
}

void setAccessibleHidden(Gtk::Widget& widget) {
    gtk_accessible_update_state(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_STATE_HIDDEN, TRUE, -1);
}

void setDescribedBy(Gtk::Widget& widget, Gtk::Widget& description) {
    gtk_accessible_update_relation(GTK_ACCESSIBLE(widget.gobj()), GTK_ACCESSIBLE_RELATION_DESCRIBED_BY,
                                   description.gobj(), nullptr, -1);
}

void setAccessibleRole(Gtk::Widget& widget, Gtk::Accessible::Role role) {
    g_object_set(widget.gobj(), "accessible-role", static_cast<int>(role), nullptr);
}

Gtk::TextDirection directionOf(std::string const& locale) {
    return isRightToLeft(locale) ? Gtk::TextDirection::RTL : Gtk::TextDirection::LTR;
}

void setDirectionOfAll(Gtk::Widget& widget, Gtk::TextDirection direction) {
    widget.set_direction(direction);
    for (auto* child = widget.get_first_child(); child; child = child->get_next_sibling()) {
        setDirectionOfAll(*child, direction);
    }
}
