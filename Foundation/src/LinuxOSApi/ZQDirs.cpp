#include "ZQOSApi.h"

#include "ZQCachedText.h"
#include "ZQCheck.h"
#include "ZQOSResult.h"

#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace
{
constexpr char SearchPathVariable[] = "LD_LIBRARY_PATH";
constexpr size_t ApplicationPathSize = 1025;

/// The directory of the running program, with its "/".
bool ReadApplicationPath(char (&path)[ApplicationPathSize])
{
    constexpr ssize_t limit = ApplicationPathSize - 1;
    const ssize_t length = readlink("/proc/self/exe", path, limit);
    OSApiCheck.AbortUnless(length >= 1, "0", "ZQGetApplicationPath read '/proc/self/exe'  fail.", 118);
    OSApiCheck.AbortUnless(length != limit, "0", "ZQGetApplicationPath buf flowout.", 124);
    path[length] = '\0';
    char* separator = std::strrchr(path, '/');
    *(separator != nullptr ? separator + 1 : path) = '\0';
    return true;
}
}  // namespace

char* ZQGetCurrentDir(char* buf, int size)
{
    if (size < 0)
    {
        errno = EINVAL;  // as an unsigned size it would let the path run over the buffer
        return nullptr;
    }
    return getcwd(buf, static_cast<size_t>(size));
}

bool ZQSetCurrentDir(const char* path)
{
    if (path == nullptr)
    {
        errno = EFAULT;  // what the system call would say
        return false;
    }
    return chdir(path) == 0;
}

const char* ZQGetApplicationPath()
{
    static ZQCachedText<ApplicationPathSize> _szBufApp;
    return _szBufApp.Get(ReadApplicationPath);
}

char* ZQGetDllDir(char* buf, unsigned int size)
{
    const char* value = std::getenv(SearchPathVariable);
    if (buf == nullptr || size == 0 || value == nullptr)
    {
        return nullptr;
    }
    return std::strncpy(buf, value, size - 1);
}

int ZQSetDllDir(const char* dir)
{
    if (dir == nullptr)
    {
        return unsetenv(SearchPathVariable) == 0 ? 0 : 1;
    }
    return ZQUnlessNoMemory(1, [dir] {
        const char* value = std::getenv(SearchPathVariable);
        const std::string path = (value != nullptr ? std::string(value) + ":" : std::string()) + dir;
        return setenv(SearchPathVariable, path.c_str(), 1) == 0 ? 0 : 1;
    });
}
