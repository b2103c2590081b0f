// A function out of a module, the place of the program, and a new identifier.

#include <ZQOSApi.h>

#include <cstdio>
#include <cstring>

int main()
{
    void* module = ZQLoadLibrary("libm.so.6");
    if (void* symbol = ZQGetProcAddress(module, "floor"))
    {
        double (*floorOf)(double) = nullptr;
        std::memcpy(&floorOf, &symbol, sizeof floorOf);  // the clean way from data to function
        std::printf("floor: %.0f\n", floorOf(2.5));
    }
    ZQFreeLibrary(module);

    const char* place = ZQGetApplicationPath();
    std::printf("ends in a slash: %s\n", place[std::strlen(place) - 1] == '/' ? "yes" : "no");

    char id[37];  // 36 characters and the null
    std::printf("length of an identifier: %zu\n", std::strlen(ZQGenerateUUID(id)));
}

// prints:
// floor: 2
// ends in a slash: yes
// length of an identifier: 36
