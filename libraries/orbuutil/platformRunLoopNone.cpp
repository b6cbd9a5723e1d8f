#include "orbuutil/platformRunLoopPrivate.h"

platform_run_loop_timer* private_platform_run_loop_timer_create(double, double, platform_run_loop_callback,
                                                                void*) {
    return nullptr;
}

void private_platform_run_loop_timer_stop(platform_run_loop_timer*) {}

void private_platform_run_loop_timer_release(platform_run_loop_timer*) {}
