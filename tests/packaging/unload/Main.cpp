#include <cstdio>
#include <dlfcn.h>

/// Loads a module that uses the library, uses it and unloads it: the library must go, with its threads.
int main(int, char** argv) {
    for (int i = 0; i < 20; ++i) {
        void* module = dlopen(argv[1], RTLD_NOW | RTLD_LOCAL);
        if (module == nullptr) {
            return std::puts(dlerror()), 1;
        }
        const auto use = reinterpret_cast<bool (*)()>(dlsym(module, "UseThePool"));
        if (!use() || dlclose(module) != 0) {
            return std::puts("the pool did not work"), 1;
        }
        if (dlopen(argv[2], RTLD_NOW | RTLD_NOLOAD) != nullptr) {
            return std::puts("the library is still there"), 1;
        }
    }
    return 0;
}
