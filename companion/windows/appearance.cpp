#include "appearance.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <giomm/settingsschemasource.h>
#include <glibmm/variant.h>
#include <gtkmm/settings.h>
#include <memory>
#include <optional>

namespace {

constexpr char kPortal[] = "org.freedesktop.portal.Desktop";
constexpr char kPortalPath[] = "/org/freedesktop/portal/desktop";
constexpr char kPortalSettings[] = "org.freedesktop.portal.Settings";
constexpr char kPortalFolder[] = "org.freedesktop.appearance";
constexpr char kSchema[] = "org.gnome.desktop.interface";
constexpr char kColorScheme[] = "color-scheme";
constexpr guint32 kPortalDark = 1;
constexpr guint32 kPortalLight = 2;

bool isDark() { return Gtk::Settings::get_default()->property_gtk_application_prefer_dark_theme(); }
void setDark(bool dark) { Gtk::Settings::get_default()->property_gtk_application_prefer_dark_theme() = dark; }

// Without one, asking for the bus would start one that stays behind.
bool hasSessionBus() {
    char const* const folder = std::getenv("XDG_RUNTIME_DIR");
    std::error_code error;
    return std::getenv("DBUS_SESSION_BUS_ADDRESS") != nullptr ||
           (folder != nullptr && std::filesystem::exists(std::filesystem::path(folder) / "bus", error));
}

using Variant = std::unique_ptr<GVariant, decltype(&g_variant_unref)>;

// The colour scheme in the portal's answer "(v)", or in the news of a change "(ssv)", which may be of
// something else. In an answer it is wrapped twice.
std::optional<guint32> schemeIn(Glib::VariantContainerBase const& values) {
    auto* const all = const_cast<GVariant*>(values.gobj());
    Variant value(nullptr, g_variant_unref);
    if (g_variant_is_of_type(all, G_VARIANT_TYPE("(v)"))) {
        value.reset(g_variant_get_child_value(all, 0));
    } else if (g_variant_is_of_type(all, G_VARIANT_TYPE("(ssv)"))) {
        Variant const key(g_variant_get_child_value(all, 1), g_variant_unref);
        if (std::strcmp(g_variant_get_string(key.get(), nullptr), kColorScheme) == 0) {
            value.reset(g_variant_get_child_value(all, 2));
        }
    }
    while (value && g_variant_is_of_type(value.get(), G_VARIANT_TYPE_VARIANT)) {
        value.reset(g_variant_get_variant(value.get()));
    }
    if (!value || !g_variant_is_of_type(value.get(), G_VARIANT_TYPE_UINT32)) {
        return std::nullopt;
    }
    return g_variant_get_uint32(value.get());
}

} // namespace

Appearance::Appearance() : darkBefore_(isDark()), cancellable_(Gio::Cancellable::create()) {
    followSettings();
    if (hasSessionBus()) {
        followPortal();
    }
}

Appearance::~Appearance() {
    cancellable_->cancel();
    if (bus_) {
        bus_->signal_unsubscribe(subscription_);
    }
}

void Appearance::followSettings() {
    auto const source = Gio::SettingsSchemaSource::get_default();
    auto const schema = source ? source->lookup(kSchema, true) : nullptr;
    if (!schema || !schema->has_key(kColorScheme)) {
        return;
    }
    settings_ = Gio::Settings::create(kSchema);
    settings_->signal_changed(kColorScheme).connect([this](Glib::ustring const&) { readSettings(); });
    readSettings();
}

void Appearance::readSettings() {
    if (portalKnows_) {
        return;
    }
    auto const scheme = settings_->get_string(kColorScheme);
    setDark(scheme == "prefer-dark" || (darkBefore_ && scheme != "prefer-light"));
}

void Appearance::followPortal() {
    // A callback may come after the end: then it is the cancellation that it tells.
    Gio::DBus::Connection::get(
        Gio::DBus::BusType::SESSION,
        [this, cancellable = cancellable_](Glib::RefPtr<Gio::AsyncResult>& result) {
            try {
                auto const bus = Gio::DBus::Connection::get_finish(result);
                if (!cancellable->is_cancelled()) {
                    bus_ = bus;
                    askPortal();
                }
            } catch (Glib::Error const&) {
                // No bus: the settings hold.
            }
        },
        cancellable_);
}

void Appearance::askPortal() {
    subscription_ =
        bus_->signal_subscribe([this](Glib::RefPtr<Gio::DBus::Connection> const&, Glib::ustring const&,
                                      Glib::ustring const&, Glib::ustring const&, Glib::ustring const&,
                                      Glib::VariantContainerBase const& values) { readPortal(values); },
                               kPortal, kPortalSettings, "SettingChanged", kPortalPath, kPortalFolder);
    auto const what =
        Glib::Variant<std::tuple<Glib::ustring, Glib::ustring>>::create({kPortalFolder, kColorScheme});
    bus_->call(
        kPortalPath, kPortalSettings, "Read", what,
        [this, bus = bus_, cancellable = cancellable_](Glib::RefPtr<Gio::AsyncResult>& result) {
            try {
                auto const values = bus->call_finish(result);
                if (!cancellable->is_cancelled()) {
                    readPortal(values);
                }
            } catch (Glib::Error const&) {
                // No portal: the settings hold.
            }
        },
        cancellable_, kPortal);
}

void Appearance::readPortal(Glib::VariantContainerBase const& values) {
    auto const scheme = schemeIn(values);
    if (scheme) {
        portalKnows_ = true;
        setDark(*scheme == kPortalDark || (darkBefore_ && *scheme != kPortalLight));
    }
}
