// What stands on a GLib main loop.
#pragma once

#include <glib.h>
#include <gtest/gtest.h>

// Milliseconds until the loop has something to do, or -1 when nothing is on it.
inline int untilNext(GMainContext* loop) {
    gint priority = 0, timeout = 0;
    GPollFD fds[8];
    EXPECT_TRUE(g_main_context_acquire(loop));
    g_main_context_prepare(loop, &priority);
    g_main_context_query(loop, priority, &timeout, fds, 8);
    g_main_context_release(loop);
    return timeout;
}
