// library_reload PLUGIN   loads the engine's shared library through a plugin, has an engine live
// once, and unloads both, again and again. A library that stayed, by a thread or by a symbol that
// must be unique, would leave the host with the former version after an update.
#include <dlfcn.h>

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "support/sizes.h"

namespace {

/// How many of the process's mappings are of the library.
int Mappings() {
    std::ifstream maps("/proc/self/maps");
    int count = 0;
    for (std::string line; std::getline(maps, line);) {
        count += line.find("libcorebeacon.so") != std::string::npos ? 1 : 0;
    }
    return count;
}

const char* LoadLiveAndUnload(const char* plugin) {
    void* const library = dlopen(plugin, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return dlerror();
    }
    using Life = int (*)();
    const auto live = reinterpret_cast<Life>(dlsym(library, "CorebeaconLiveOnce"));
    if (live == nullptr || live() != 0) {
        return "the engine did not live";
    }
    if (Mappings() == 0) {
        return "the library is not where it is looked for";
    }
    if (dlclose(library) != 0) {
        return dlerror();
    }
    return Mappings() == 0 ? nullptr : "the library stayed loaded";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    const long rounds = corebeacon::test::SizeFromEnvironment("COREBEACON_RELOADS", 20);
    for (long round = 0; round < rounds; ++round) {
        if (const char* const complaint = LoadLiveAndUnload(argv[1])) {
            std::printf("round %ld: %s\n", round, complaint);
            return 1;
        }
    }
    std::printf("%ld rounds\n", rounds);
    return 0;
}
