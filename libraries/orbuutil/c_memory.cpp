#include "orbuutil/c_memory.h"

#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

constinit long private_alloc_bytes = 0;
constinit long private_alloc_count = 0;

constexpr unsigned long header_bytes = sizeof(std::uint64_t);
constexpr unsigned long most_cached = 1024;

} // namespace

void* memory_allocate(unsigned long size) {
    if (size > LONG_MAX - header_bytes) {
        return nullptr; // a negative length, most likely
    }
    const std::uint64_t total = size + header_bytes;
    // For small blocks malloc is the faster one, since it keeps them in a cache for each thread; large ones
    // come zeroed from the system.
    const bool small = total <= most_cached;
    char* block = static_cast<char*>(small ? std::malloc(total) : std::calloc(1, total));
    if (block == nullptr) {
        return nullptr;
    }
    if (small) {
        std::memset(block + header_bytes, 0, size);
    }
    private_alloc_bytes += static_cast<long>(total);
    private_alloc_count += 1;
    std::memcpy(block, &total, header_bytes);
    return block + header_bytes;
}

long memory_free(void* block) {
    if (block == nullptr) {
        return 0;
    }
    char* start = static_cast<char*>(block) - header_bytes;
    std::uint64_t total = 0;
    std::memcpy(&total, start, header_bytes);
    private_alloc_bytes -= static_cast<long>(total);
    private_alloc_count -= 1;
    std::free(start);
    return static_cast<long>(total);
}

long memory_allocated() { return private_alloc_bytes; }

long memory_allocated_count() { return private_alloc_count; }
