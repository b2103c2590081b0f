// What a process tells about itself and its machine.

#include <ZQOSApi.h>

#include <cstdio>

int main()
{
    int64_t resident = 0, size = 0;
    ZQGetAppMemoryStatus(&resident, &size);  // both -1 where it cannot be told
    std::printf("memory: %s\n", resident > 0 && size >= resident ? "told" : "not told");
    std::printf("the machine has more: %s\n", ZQGetTotalPhysicalMemory() / 1024 > resident ? "yes" : "no");
    std::printf("threads: %s\n", ZQGetCurProcessThreadNum() >= 1 ? "some" : "none");
    std::printf("program: %s\n", ZQGetCurProcessName());
    std::printf("system cached: %s\n", ZQGetOSVersion() == ZQGetOSVersion() ? "yes" : "no");
}

// prints:
// memory: told
// the machine has more: yes
// threads: some
// program: zq_page_statistics
// system cached: yes
