// A bounded queue of work on threads of its own. What is refused stays the caller's.

#include <ZQThreadPool.h>

#include <cstdio>
#include <memory>
#include <string>

namespace
{
void Print(void* data, void*)
{
    const std::unique_ptr<std::string> text(static_cast<std::string*>(data));
    std::puts(text->c_str());
}

void Drop(void* data, void*)
{
    delete static_cast<std::string*>(data);
}
}  // namespace

int main()
{
    ZQRefThreadPool* threads = ZQRefThreadPool::Create(4, 60);
    {
        ZQTaskPool pool(100, 1);  // at most 100 waiting, one at a time and so in order
        pool.Init(threads, Print, Drop, nullptr);
        for (const char* text : {"first", "second", "third"})
        {
            auto data = std::make_unique<std::string>(text);
            if (0 == pool.Task(data.get(), false))
            {
                data.release();  // the pool's from here on
            }
        }
        pool.Uninit(true);  // with true all that waits is done; with false Drop() would get it
    }
    threads->Unref();
}

// prints:
// first
// second
// third
