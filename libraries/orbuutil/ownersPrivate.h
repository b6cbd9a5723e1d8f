// Owners for what lives inside one function: move-only, one word each, no path leaks.
//
// All keep the errno of the caller when they release, so that a failure's number survives the way out.
#pragma once

#include "orbuutil/c_memory.h"
#include "orbuutil/c_str.h"

#include <cerrno>
#include <cstdio>
#include <unistd.h>
#include <utility>

// Releases Handle through Traits::release unless it is Traits::none().
template <typename Traits>
class private_owner {
public:
    using Handle = typename Traits::Handle;

    private_owner() : mHandle(Traits::none()) {}
    explicit private_owner(Handle handle) : mHandle(handle) {}
    private_owner(private_owner&& other) noexcept : mHandle(other.release()) {}
    private_owner& operator=(private_owner&& other) noexcept {
        reset(other.release());
        return *this;
    }
    ~private_owner() { reset(); }

    Handle get() const { return mHandle; }
    bool isValid() const { return mHandle != Traits::none(); }
    explicit operator bool() const { return isValid(); }

    // Hands the handle over to the caller.
    Handle release() { return std::exchange(mHandle, Traits::none()); }

    void reset(Handle handle = Traits::none()) {
        Handle const old = std::exchange(mHandle, handle);
        if (old != Traits::none()) {
            int const kept = errno;
            Traits::release(old);
            errno = kept;
        }
    }

private:
    Handle mHandle;
};

struct private_fd_traits {
    using Handle = int;
    static constexpr int none() { return -1; }
    static void release(int fd) { ::close(fd); }
};
struct private_file_traits {
    using Handle = std::FILE*;
    static constexpr std::FILE* none() { return nullptr; }
    static void release(std::FILE* file) { std::fclose(file); }
};
struct private_str_traits {
    using Handle = str*;
    static constexpr str* none() { return nullptr; }
    static void release(str* s) { str_uninit(s); }
};
template <typename T>
struct private_memory_traits {
    using Handle = T*;
    static constexpr T* none() { return nullptr; }
    static void release(T* block) { memory_free(block); }
};

using UniqueFd = private_owner<private_fd_traits>;     // close(2)
using UniqueFile = private_owner<private_file_traits>; // fclose(3)
using StrOwner = private_owner<private_str_traits>;    // str_uninit
template <typename T>
using MemoryOwner = private_owner<private_memory_traits<T>>; // memory_free
