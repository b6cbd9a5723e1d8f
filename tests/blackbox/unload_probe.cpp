// Loads the library, unloads it and loads it again. After an unload it must be gone from the process: a
// symbol or a static that pins it would show here.
#include <cstdio>
#include <dlfcn.h>
#include <fstream>
#include <string>

static bool mapped(const std::string& path) {
    std::ifstream maps("/proc/self/maps");
    const std::string name = path.substr(path.rfind('/') + 1);
    for (std::string line; std::getline(maps, line);) {
        if (line.find(name) != std::string::npos)
            return true;
    }
    return false;
}

int main(int argc, char** argv) {
    if (argc != 2)
        return 2;
    for (int round = 1; round <= 3; ++round) {
        void* library = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) {
            std::fprintf(stderr, "round %d: %s\n", round, dlerror());
            return 1;
        }
        if (!mapped(argv[1]) || dlsym(library, "Debug") == nullptr) {
            std::fprintf(stderr, "round %d: loaded, but not to be seen\n", round);
            return 1;
        }
        dlclose(library);
        if (mapped(argv[1])) {
            std::fprintf(stderr, "round %d: still mapped after dlclose\n", round);
            return 1;
        }
    }
    return 0;
}
