#include "picture.h"

#include <gdkmm/texture.h>
#include <glibmm/main.h>
#include <gtkmm/snapshot.h>
#include <gtkmm/widgetpaintable.h>
#include <memory>

namespace {

// In the first frame sizes settle, in the next all is in its place.
constexpr int kFrames = 2;

struct NodeUnref {
    void operator()(GskRenderNode* node) const { gsk_render_node_unref(node); }
};

void awaitPaint(Gtk::Window& window) {
    auto const loop = Glib::MainLoop::create();
    window.add_tick_callback([&loop, frames = 0](Glib::RefPtr<Gdk::FrameClock> const&) mutable {
        if (++frames <= kFrames) {
            return true;
        }
        loop->quit();
        return false;
    });
    loop->run();
}

} // namespace

bool savePicture(Gtk::Window& window, std::string const& path) {
    window.present();
    awaitPaint(window);
    auto const paintable = Gtk::WidgetPaintable::create(window);
    int const width = paintable->get_intrinsic_width();
    int const height = paintable->get_intrinsic_height();
    auto const snapshot = Gtk::Snapshot::create();
    paintable->snapshot(snapshot, width, height);
    std::unique_ptr<GskRenderNode, NodeUnref> const node(gtk_snapshot_to_node(snapshot->gobj()));
    auto* const renderer = gtk_native_get_renderer(GTK_NATIVE(window.gobj()));
    if (!node || !renderer) {
        return false;
    }
    auto const texture = Glib::wrap(gsk_renderer_render_texture(renderer, node.get(), nullptr));
    return gdk_texture_save_to_png(texture->gobj(), path.c_str()) != FALSE;
}
