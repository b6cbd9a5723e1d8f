#include <giomm/dbusconnection.h>
#include <giomm/dbusinterfacevtable.h>
#include <giomm/dbusintrospection.h>
#include <giomm/dbusownname.h>
#include <gtest/gtest.h>
#include <gtkmm/settings.h>

#include "appearance.h"
#include "deskRun.h"

namespace {

constexpr char kPath[] = "/org/freedesktop/portal/desktop";
constexpr char kInterface[] = "org.freedesktop.portal.Settings";
constexpr char kFolder[] = "org.freedesktop.appearance";

bool isDark() { return Gtk::Settings::get_default()->property_gtk_application_prefer_dark_theme(); }

// A desktop's portal on the test's own bus.
class Portal {
public:
    Portal()
        : bus_(Gio::DBus::Connection::get_sync(Gio::DBus::BusType::SESSION)),
          table_([](auto const&, auto const&, auto const&, auto const&, auto const&, auto const&,
                    Glib::RefPtr<Gio::DBus::MethodInvocation> const& call) {
              auto const inner = Glib::Variant<Glib::VariantBase>::create(Glib::Variant<guint32>::create(1));
              call->return_value(
                  Glib::VariantContainerBase::create_tuple(Glib::Variant<Glib::VariantBase>::create(inner)));
          }) {
        auto const description = Gio::DBus::NodeInfo::create_for_xml(R"(<node>
            <interface name="org.freedesktop.portal.Settings"><method name="Read">
            <arg type="s" direction="in"/><arg type="s" direction="in"/><arg type="v" direction="out"/>
            </method></interface></node>)");
        object_ = bus_->register_object(kPath, description->lookup_interface(kInterface), table_);
        name_ = Gio::DBus::own_name(Gio::DBus::BusType::SESSION, "org.freedesktop.portal.Desktop");
    }
    Portal(Portal const&) = delete;
    Portal& operator=(Portal const&) = delete;
    ~Portal() {
        Gio::DBus::unown_name(name_);
        bus_->unregister_object(object_);
    }

    void tell(Glib::ustring const& folder, Glib::ustring const& key, Glib::VariantBase const& value) {
        auto const text = [](Glib::ustring const& word) {
            return Glib::Variant<Glib::ustring>::create(word);
        };
        bus_->emit_signal(kPath, kInterface, "SettingChanged", {},
                          Glib::VariantContainerBase::create_tuple(
                              {text(folder), text(key), Glib::Variant<Glib::VariantBase>::create(value)}));
    }

private:
    Glib::RefPtr<Gio::DBus::Connection> bus_;
    Gio::DBus::InterfaceVTable table_;
    guint object_ = 0;
    guint name_ = 0;
};

TEST(Appearance, FollowsTheDesktopWhileItChangesItsMind) {
    if (!hasDisplay()) {
        GTEST_SKIP() << "no display";
    }
    Portal portal;
    auto const number = [](guint32 value) { return Glib::Variant<guint32>::create(value); };
    Appearance appearance;
    EXPECT_FALSE(isDark()) << "nobody has waited for the answer";
    EXPECT_TRUE(runUntil(isDark));
    portal.tell(kFolder, "color-scheme", number(2));
    EXPECT_TRUE(runUntil([] { return !isDark(); }));
    portal.tell(kFolder, "accent-color", number(1));
    portal.tell("org.example", "color-scheme", number(1));
    portal.tell(kFolder, "color-scheme", Glib::Variant<Glib::ustring>::create("dark"));
    runFor(Milliseconds(100));
    EXPECT_FALSE(isDark());
    portal.tell(kFolder, "color-scheme", number(1));
    EXPECT_TRUE(runUntil(isDark));
    portal.tell(kFolder, "color-scheme", number(0));
    EXPECT_TRUE(runUntil([] { return !isDark(); })) << "no preference";
    // One that goes before its answer leaves nothing behind.
    Appearance();
    runFor(Milliseconds(100));
}

} // namespace
