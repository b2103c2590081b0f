#include "ZQRefCountedObject.h"

#include <gtest/gtest.h>
#include <memory>
#include <thread>

TEST(ZQRefCountedObjectTest, LastReleaseOfAnyThreadDeletes) {
    struct Shared : ZQRefCountedObject {
        const std::shared_ptr<int> alive = std::make_shared<int>(0);
    };
    const Shared* object = new Shared;
    const std::weak_ptr<int> alive = object->alive;
    const auto share = [object] {
        for (int i = 0; i < 10000; ++i) {
            object->Duplicate();
            object->Release();
        }
        object->Release();
    };
    EXPECT_EQ(object->ReferenceCount(), 1);
    EXPECT_EQ(object->Duplicate(), 2);
    EXPECT_EQ(object->Duplicate(), 3);
    std::thread one(share);
    std::thread two(share);
    EXPECT_FALSE(alive.expired());
    object->Release();
    one.join();
    two.join();
    EXPECT_TRUE(alive.expired());
}
