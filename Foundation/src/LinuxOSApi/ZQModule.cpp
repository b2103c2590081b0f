#include "ZQOSApi.h"

#include <cstdio>
#include <dlfcn.h>

void* ZQLoadLibrary(const char* file)
{
    void* handle = dlopen(file, RTLD_LAZY);
    if (handle == nullptr)
    {
        std::printf("dlopen fail!file:%s,error:%s \n", file, dlerror());
    }
    return handle;
}

void ZQFreeLibrary(void* handle)
{
    if (handle != nullptr)
    {
        dlclose(handle);
    }
}

void* ZQGetProcAddress(void* handle, const char* symbol)
{
    // The loader takes a null handle for the program and all it has loaded.
    return handle != nullptr ? dlsym(handle, symbol) : nullptr;
}
