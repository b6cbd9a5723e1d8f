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

// What is wrong with one round, or nullptr.
static const char* fault(const char* path) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr)
        return dlerror();
    if (!mapped(path) || dlsym(library, "Debug") == nullptr)
        return "loaded, but not to be seen";
    dlclose(library);
    return mapped(path) ? "still mapped after dlclose" : nullptr;
}

int main(int argc, char** argv) {
    for (int round = 1; argc == 2 && round <= 3; ++round) {
        if (const char* what = fault(argv[1])) {
            std::fprintf(stderr, "round %d: %s\n", round, what);
            return 1;
        }
    }
    return argc == 2 ? 0 : 2;
}
