#include "toolkit.h"

#include <giomm/init.h>
#include <glibmm/init.h>
#include <gtk/gtk.h>
#include <gtkmm/init.h>

bool startToolkit() {
    gtk_disable_setlocale();
    g_set_prgname("QMX"); // by which a desktop tells whose windows these are
    if (!gtk_init_check()) {
        return false;
    }
    Glib::set_init_to_users_preferred_locale(false);
    Glib::init();
    Gio::init();
    Gtk::init_gtkmm_internals();
    return true;
}
