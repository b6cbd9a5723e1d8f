// Light or dark, as the desktop wants it and whenever it changes its mind.
//
// The desktop's portal is asked first (org.freedesktop.appearance); what stands in the desktop's settings
// (org.gnome.desktop.interface) holds until it answers, and where there is none. The size of letters and the
// scale are the toolkit's own business. Nothing here waits: windows opened before the answer change with it.
#pragma once

#include <giomm/cancellable.h>
#include <giomm/dbusconnection.h>
#include <giomm/settings.h>
#include <glibmm/refptr.h>

class Appearance {
public:
    Appearance();
    Appearance(Appearance const&) = delete;
    Appearance& operator=(Appearance const&) = delete;
    ~Appearance();

private:
    void followSettings();
    void followPortal();
    void askPortal();
    void readSettings();
    void readPortal(Glib::VariantContainerBase const& values);

    bool const darkBefore_; // what the user's own configuration of the toolkit says
    bool portalKnows_ = false;
    Glib::RefPtr<Gio::Settings> settings_;
    Glib::RefPtr<Gio::DBus::Connection> bus_;
    Glib::RefPtr<Gio::Cancellable> cancellable_;
    guint subscription_ = 0;
};
