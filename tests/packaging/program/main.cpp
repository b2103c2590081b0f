#include <ZQFoundation.h>

#include <cstdio>
#include <uuid/uuid.h>

int main() {
    ZQTaskPool pool(0, 2);
    const int result = pool.Init(
        nullptr, [](void* data, void*) { ZQAtomicInc(static_cast<long*>(data)); }, nullptr, nullptr);
    long count = 0;
    for (int i = 0; i < 100; ++i) { pool.Task(&count, false); }
    pool.Uninit(true);
    std::printf("%d %ld\n", result, ZQAtomicGet(&count));
    uuid_t id = {};  // the library brings libuuid along
    uuid_generate(id);
    return uuid_is_null(id) == 0 && result == 0 && count == 100 ? 0 : 1;
}
