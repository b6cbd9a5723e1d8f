// What the shared library shows to a host.
//
// The library is compiled with hidden visibility. A function or class that a host may use carries ORBU_EXPORT
// in its public header; everything else, the private_ functions among it, stays inside.
#pragma once

#define ORBU_EXPORT __attribute__((visibility("default")))
