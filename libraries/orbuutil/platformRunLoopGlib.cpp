#include "orbuutil/platformRunLoopPrivate.h"

#include <algorithm>
#include <glib.h>

struct platform_run_loop_timer {
    GSource* source;
    platform_run_loop_callback callback;
    void* info;
    bool repeats;
};

static gboolean tick(gpointer data) {
    auto* const timer = static_cast<platform_run_loop_timer*>(data);
    // Asked before the call, which may give the timer back.
    const bool repeats = timer->repeats;
    timer->callback(timer, timer->info);
    return repeats ? G_SOURCE_CONTINUE : G_SOURCE_REMOVE;
}

// GLib counts short intervals in milliseconds and long ones in seconds, each in an unsigned int. A source of
// GLib's own, and not one with functions of ours: the loop may hold it for a moment after it was destroyed,
// when the library is perhaps no longer there.
static GSource* timeout_source(double interval) {
    const double milliseconds = std::max(interval, 0.0) * 1000.0;
    return milliseconds <= G_MAXUINT
               ? g_timeout_source_new(static_cast<guint>(milliseconds))
               : g_timeout_source_new_seconds(static_cast<guint>(std::min(interval, double{G_MAXUINT})));
}

platform_run_loop_timer* private_platform_run_loop_timer_create(double delay, double interval,
                                                                platform_run_loop_callback callback,
                                                                void* info) {
    auto* const timer = new platform_run_loop_timer{timeout_source(interval), callback, info, interval > 0};
    g_source_set_callback(timer->source, tick, timer, nullptr);
    g_source_set_ready_time(timer->source,
                            g_get_monotonic_time() + static_cast<gint64>(delay * G_USEC_PER_SEC));

    GMainContext* const context = g_main_context_ref_thread_default();
    g_source_attach(timer->source, context);
    g_main_context_unref(context);
    return timer;
}

void private_platform_run_loop_timer_stop(platform_run_loop_timer* timer) { g_source_destroy(timer->source); }

void private_platform_run_loop_timer_release(platform_run_loop_timer* timer) {
    g_source_unref(timer->source);
    delete timer;
}
