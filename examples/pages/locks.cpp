// A queue between two threads: a lock for the state, a condition to wait for its change.

#include <ZQMutex.h>
#include <ZQThreadPool.h>

#include <cstdio>
#include <queue>

struct Mailbox
{
    ZQMutex mutex;
    ZQCond changed;
    std::queue<int> letters;
};

static void Read(ZQThread&, void* param)
{
    Mailbox& box = *static_cast<Mailbox*>(param);
    for (int letter = 0; letter != 3;)
    {
        ZQAutoMutex lock(box.mutex);
        while (box.letters.empty())
        {
            box.changed.WaitTimeout(box.mutex, 1000);  // in a loop, with a limit: see ZQCond
        }
        letter = box.letters.front();
        box.letters.pop();
        std::printf("letter %d\n", letter);
    }
}

int main()
{
    Mailbox box;
    ZQThread reader;
    reader.Start(Read, &box);
    for (int letter = 1; letter <= 3; ++letter)
    {
        ZQAutoMutex lock(box.mutex);
        box.letters.push(letter);
        box.changed.Signal();
    }
    reader.Join();
}

// prints:
// letter 1
// letter 2
// letter 3
