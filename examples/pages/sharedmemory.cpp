// An object that one handle owns and another one reads; the reader may as well be in another process.

#include <ZQSharedMemory.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <unistd.h>

int main()
{
    const std::string name = "zq_page_" + std::to_string(getpid());
    const unsigned int size = 4096;  // agreed on: the object does not tell it
    ZQSharedMemory owner(name.c_str(), size, ZQSharedMemory::AccessReadWrite, nullptr, true);
    if (!owner.Create())
    {
        return 1;
    }
    std::strcpy(static_cast<char*>(owner.Begin()), "hello");

    ZQSharedMemory reader(name.c_str(), size, ZQSharedMemory::AccessReadOnly, nullptr, false);
    if (reader.Create())
    {
        std::printf("read: %s\n", static_cast<const char*>(reader.Begin()));
    }
}

// prints:
// read: hello
