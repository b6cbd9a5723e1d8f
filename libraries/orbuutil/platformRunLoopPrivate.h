// The seam to the event loop that clocks the timers: four operations, by one source or the other.
//
// platformRunLoopGlib.cpp serves hosts that run a GLib main loop. platformRunLoopNone.cpp knows no loop: it
// creates nothing, and the host clocks by hand. The build takes one of them (ORBU_RUN_LOOP).
#pragma once

struct platform_run_loop_timer;

typedef void (*platform_run_loop_callback)(platform_run_loop_timer* timer, void* info);

// A repeating timer on the event loop of the calling thread, in seconds: first after `delay`, then every
// `interval`; with an interval of 0 or less once only. The loop calls `callback` on the thread that runs it.
// Null when there is no loop to put it on.
platform_run_loop_timer* private_platform_run_loop_timer_create(double delay, double interval,
                                                                platform_run_loop_callback callback,
                                                                void* info);

// Takes the timer off its loop for good. May be called from its own callback.
void private_platform_run_loop_timer_stop(platform_run_loop_timer* timer);

// Gives the handle back, after it was stopped. May be called from its own callback.
void private_platform_run_loop_timer_release(platform_run_loop_timer* timer);
