#include "ZQOSApi.h"

#include "support/Fatal.h"
#include "support/Threads.h"
#include "support/WorkDir.h"

#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <uuid/uuid.h>

static ssize_t linkLength = 0;  // what reading a link gives, unless 0

extern "C" ssize_t readlink(const char* path, char* buffer, size_t size) noexcept {
    return linkLength != 0 ? linkLength : syscall(SYS_readlinkat, AT_FDCWD, path, buffer, size);
}

TEST(ZQModuleTest, LoadsModulesAndFindsTheirSymbols) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(ZQLoadLibrary("./none.so"), nullptr);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(text.find("dlopen fail!file:./none.so,error:./none.so: "), 0U) << text;
    EXPECT_EQ(text.substr(text.size() - 2), " \n");
    void* module = ZQLoadLibrary("libuuid.so.1");
    EXPECT_EQ(ZQGetProcAddress(module, "uuid_generate"), reinterpret_cast<void*>(uuid_generate));
    EXPECT_EQ(ZQGetProcAddress(nullptr, "uuid_generate"), nullptr);
    ZQFreeLibrary(module);
    ZQFreeLibrary(nullptr);
}

TEST(ZQModuleTest, SearchPathGrowsAndIsCopiedBounded) {
    char buffer[] = "xxxxxxxxxxxx";
    unsetenv("LD_LIBRARY_PATH");
    EXPECT_EQ(ZQGetDllDir(buffer, 12), nullptr);
    EXPECT_EQ(ZQSetDllDir("/a"), 0);
    EXPECT_EQ(ZQSetDllDir("/b"), 0);
    EXPECT_EQ(ZQGetDllDir(buffer, 0), nullptr);
    EXPECT_EQ(ZQGetDllDir(nullptr, 12), nullptr);
    EXPECT_EQ(ZQGetDllDir(buffer, 6), buffer);
    EXPECT_STREQ(buffer, "/a:/bxxxxxxx");
    EXPECT_EQ(ZQGetDllDir(buffer, 7), buffer);
    EXPECT_STREQ(buffer, "/a:/b");
    EXPECT_EQ(ZQSetDllDir(nullptr), 0);
    EXPECT_EQ(getenv("LD_LIBRARY_PATH"), nullptr);
}

TEST(ZQModuleTest, DirectoriesOfProcessAndProgram) {
    const WorkDir dir;
    char buffer[4096];
    EXPECT_TRUE(ZQSetCurrentDir("dirs"));
    EXPECT_STREQ(ZQGetCurrentDir(buffer, sizeof(buffer)), dir.Path("dirs").c_str());
    EXPECT_EQ(ZQGetCurrentDir(buffer, 2), nullptr);
    EXPECT_EQ(ZQGetCurrentDir(buffer, -1), nullptr);
    EXPECT_FALSE(ZQSetCurrentDir("none"));
    EXPECT_FALSE(ZQSetCurrentDir(nullptr));

    std::string paths[4];
    InThreads(4, [&](int i) { paths[i] = ZQGetApplicationPath(); });
    for (const std::string& path : paths) {
        EXPECT_EQ(path + "zq_tests", std::filesystem::read_symlink("/proc/self/exe"));
    }
}

TEST(ZQModuleDeathTest, PathOfTheProgramMustBeReadAndFit) {
    const std::string abort = "abort Foundation/src/LinuxOSApi:";
    ExpectAbort([] { linkLength = -1, ZQGetApplicationPath(); },
                abort + "118 expre: 0, ZQGetApplicationPath read '/proc/self/exe'  fail\\. \n");
    ExpectAbort([] { linkLength = 1024, ZQGetApplicationPath(); },
                abort + "124 expre: 0, ZQGetApplicationPath buf flowout\\. \n");
}

struct uuid {
    uint32_t low;
    uint16_t mid, high, sequence;
    uint8_t node[6];
};
extern "C" void uuid_pack(const struct uuid*, unsigned char*);
extern "C" void uuid_unpack(const unsigned char*, struct uuid*);

TEST(ZQModuleTest, GeneratesAndPacksIdentifiers) {
    char text[37], other[37], start[37];
    unsigned char packed[16], again[16];
    EXPECT_EQ(ZQGenerateUUID(text), text);
    EXPECT_STRNE(ZQGenerateUUID(other), text);
    ASSERT_EQ(uuid_parse(text, packed), 0) << text;
    struct uuid fields;
    uuid_unpack(packed, &fields);
    std::snprintf(start, sizeof(start), "%08x-%04x-%04x-%04x-%02x", fields.low, fields.mid, fields.high,
                  fields.sequence, fields.node[0]);
    EXPECT_EQ(std::string(text, std::strlen(start)), start);  // lower case, too
    uuid_pack(&fields, again);
    EXPECT_EQ(std::memcmp(again, packed, sizeof(packed)), 0);
}
