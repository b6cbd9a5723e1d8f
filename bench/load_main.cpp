// Loads the library named in the first argument, uses nothing of it, and prints what that cost: microseconds,
// and bytes of resident memory.
#include <dlfcn.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace {

long residentBytes() {
    long pages = 0;
    if (FILE* statm = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(statm, "%*d %ld", &pages) != 1) {
            pages = 0;
        }
        std::fclose(statm);
    }
    return pages * sysconf(_SC_PAGESIZE);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    const long before = residentBytes();
    const auto start = std::chrono::steady_clock::now();
    void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
    const auto end = std::chrono::steady_clock::now();
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    const double microseconds = std::chrono::duration<double, std::micro>(end - start).count();
    std::printf("%.1f %ld\n", microseconds, residentBytes() - before);
    return 0;
}
