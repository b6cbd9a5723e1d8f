// Counted memory: the allocator below every plain record and every byte buffer.
//
// A block is zeroed and has one hidden 64-bit word in front that holds its total size, that word included.
// Whoever is given a block releases it with memory_free, and with nothing else. Two process-wide counters
// follow the live bytes and blocks. They are plain words: allocation from several threads at once is safe for
// the blocks, but the counters are then only approximate. Nothing here prints or throws.
#pragma once

#include "orbuutil/orbuExport.h"

// Gives `size` zeroed bytes (0 is allowed), aligned to 8 bytes, or null when memory is exhausted or `size` is
// absurd. Counts size + 8 bytes and one block. Through malloc(3) or calloc(3).
ORBU_EXPORT void* memory_allocate(unsigned long size);

// Releases a block and gives the bytes it took, the hidden word included. Accepts null: 0, nothing counted.
ORBU_EXPORT long memory_free(void* block);

// Live bytes of the process, the hidden words included.
ORBU_EXPORT long memory_allocated();

// Live blocks of the process.
ORBU_EXPORT long memory_allocated_count();
