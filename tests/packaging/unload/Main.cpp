#include <cstdio>
#include <dlfcn.h>
#include <sys/wait.h>
#include <unistd.h>

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
        if (const pid_t child = fork()) {
            int status = 1;
            if (waitpid(child, &status, 0) != child || status != 0) {
                return std::puts("a fork met what the library had left"), 1;
            }
        } else {
            _exit(0);
        }
    }
    return 0;
}
