// Increments return the new value, and/or the old one; so a limit and a flag are each taken by exactly one caller.

#include <ZQOSApi.h>

#include <cstdio>

int main()
{
    ZQAtomicCell users = 0;
    const long limit = 1;
    std::printf("first: %s\n", ZQAtomicInc(&users) <= limit ? "in" : "out");
    std::printf("second: %s\n", ZQAtomicInc(&users) <= limit ? "in" : "out");

    ZQAtomicCell flags = 0;
    const long started = 4;
    std::printf("I started it: %s\n", (ZQAtomicOr(&flags, started) & started) == 0 ? "yes" : "no");
    std::printf("once more: %s\n", (ZQAtomicOr(&flags, started) & started) == 0 ? "yes" : "no");

    ZQSleep(10);  // at least one processor is there for it
    std::printf("processors: %s\n", ZQGetCPUProcessorNumber() >= 1 ? "some" : "none");
}

// prints:
// first: in
// second: out
// I started it: yes
// once more: no
// processors: some
