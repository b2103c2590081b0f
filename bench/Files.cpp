// Files: walk a directory, remove a tree, make a path of 30 levels, look at a file. All in a folder named by ZQ_BENCH_DIR.

#include "Files.h"

#include <ZQOSApi.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <ftw.h>
#include <sys/stat.h>
#include <unistd.h>

#ifdef ZQ_HAVE_BOOST_FILESYSTEM
#include <boost/filesystem.hpp>
#endif
#ifdef ZQ_HAVE_APR
#include <apr_file_info.h>
#include <apr_file_io.h>
#include <apr_general.h>
#endif
#ifdef ZQ_HAVE_GLIB
#include <glib.h>
#endif

namespace {
long seen;  // of the walk that is going on

long EntryCount() { return bench::Scaled(100000, 3000); }

/// A directory with many files, made once.
const std::string& WalkDir() {
    static const std::string dir = [] {
        const std::string made = WorkDir() + "/walk" + std::to_string(EntryCount());
        MakeFiles(made, EntryCount());
        return made;
    }();
    return dir;
}

template <class Walk> void AddWalk(const char* who, Walk walk) {
    bench::Batch("walk, an entry", who, [walk] {
        bench::Outcome out;
        const std::string& dir = WalkDir();
        seen = 0;
        const double began = bench::Now();
        walk(dir);
        out.nanoseconds = bench::Now() - began;
        out.operations = static_cast<double>(EntryCount());
        out.error = seen == EntryCount() ? nullptr : "the walk has not seen every file once";
        return out;
    });
}

void AddWalks() {
    AddWalk("ZQFetchDir", [](const std::string& dir) {
        ZQFetchDir(
            dir.c_str(),
            [](const _ZQStruFileInfo& info, void*) {
                seen += info.nType == 1 ? 1 : 0;
                return true;
            },
            nullptr);
    });
    AddWalk("floor: readdir, fstatat", [](const std::string& dir) { seen = CountFiles(dir); });
    AddWalk("readdir alone", [](const std::string& dir) {
        DIR* const stream = opendir(dir.c_str());
        while (const dirent* const entry = readdir(stream)) { seen += entry->d_type == DT_REG ? 1 : 0; }
        closedir(stream);
    });
    AddWalk("std::filesystem", [](const std::string& dir) {
        for (const auto& entry : std::filesystem::directory_iterator(dir)) { seen += entry.is_regular_file() ? 1 : 0; }
    });
#ifdef ZQ_HAVE_BOOST_FILESYSTEM
    AddWalk("boost::filesystem", [](const std::string& dir) {
        for (const auto& entry : boost::filesystem::directory_iterator(dir)) {
            seen += entry.status().type() == boost::filesystem::regular_file ? 1 : 0;
        }
    });
#endif
    AddWalk("nftw", [](const std::string& dir) {
        nftw(
            dir.c_str(),
            [](const char*, const struct stat*, int type, FTW*) {
                seen += type == FTW_F ? 1 : 0;
                return 0;
            },
            16, FTW_PHYS);
    });
#ifdef ZQ_HAVE_APR
    AddWalk("APR", [](const std::string& dir) {
        apr_pool_t* pool;
        apr_pool_create(&pool, nullptr);
        apr_dir_t* stream;
        apr_dir_open(&stream, dir.c_str(), pool);
        apr_finfo_t info;
        while (apr_dir_read(&info, APR_FINFO_TYPE | APR_FINFO_NAME, stream) == APR_SUCCESS) {
            seen += info.filetype == APR_REG ? 1 : 0;
        }
        apr_dir_close(stream);
        apr_pool_destroy(pool);
    });
#endif
}

bool RemoveAllBelow(int parent, const char* name) {
    const int fd = openat(parent, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW);
    DIR* const stream = fd < 0 ? nullptr : fdopendir(fd);
    if (stream == nullptr) {
        return false;
    }
    bool done = true;
    while (const dirent* const entry = readdir(stream)) {
        if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
            done =
                (entry->d_type == DT_DIR ? RemoveAllBelow(fd, entry->d_name) : unlinkat(fd, entry->d_name, 0) == 0) &&
                done;
        }
    }
    closedir(stream);
    return unlinkat(parent, name, AT_REMOVEDIR) == 0 && done;
}

template <class Remove> void AddRemove(const char* who, Remove remove) {
    bench::Batch("remove a tree, a file", who, [remove] {
        bench::Outcome out;
        const long files = bench::Scaled(20000, 1000);
        const std::string tree = WorkDir() + "/tree";
        MakeTree(tree, files);
        const double began = bench::Now();
        const bool done = remove(tree);
        out.nanoseconds = bench::Now() - began;
        out.operations = static_cast<double>(files);
        out.error = done && access(tree.c_str(), F_OK) != 0 ? nullptr : "something is left of the tree";
        return out;
    });
}

void AddRemoves() {
    AddRemove("ZQForcedRemoveDir", [](const std::string& tree) { return ZQForcedRemoveDir(tree.c_str()) == 0; });
    AddRemove("floor: readdir, unlinkat",
              [](const std::string& tree) { return RemoveAllBelow(AT_FDCWD, tree.c_str()); });
    AddRemove("std::filesystem", [](const std::string& tree) { return std::filesystem::remove_all(tree) > 0; });
#ifdef ZQ_HAVE_BOOST_FILESYSTEM
    AddRemove("boost::filesystem", [](const std::string& tree) { return boost::filesystem::remove_all(tree) > 0; });
#endif
    AddRemove("nftw", [](const std::string& tree) {
        return 0 == nftw(
                        tree.c_str(), [](const char* path, const struct stat*, int, FTW*) { return std::remove(path); },
                        16, FTW_DEPTH | FTW_PHYS);
    });
}

/// What a user would write who has only `mkdir`: each level from the top.
bool MakeByMkdir(const std::string& path) {
    for (std::size_t end = 1; end != std::string::npos;) {
        end = path.find('/', end + 1);
        if (mkdir(path.substr(0, end).c_str(), 0777) != 0 && errno != EEXIST) {
            return false;
        }
    }
    return true;
}

template <class Make> void AddMake(const char* who, Make make) {
    const auto add = [who, make](const char* workload, bool present) {
        bench::Batch(workload, who, [make, present] {
            bench::Outcome out;
            const std::string top = WorkDir() + "/deep";
            std::string path = top;
            for (int level = 0; level < 30; ++level) { path += "/level" + std::to_string(level); }
            const long rounds = present ? bench::Scaled(300, 20) : bench::Scaled(30, 5);
            std::filesystem::remove_all(top);
            mkdir(top.c_str(), 0777);
            bool done = !present || make(path);
            for (long i = 0; i < rounds; ++i) {
                if (!present) {
                    std::filesystem::remove_all(top + "/level0");
                }
                const double began = bench::Now();
                done = make(path) && done;
                out.nanoseconds += bench::Now() - began;
            }
            out.operations = static_cast<double>(rounds);
            out.error = done && std::filesystem::is_directory(path) ? nullptr : "the path is not there";
            if (!present) {
                std::filesystem::remove_all(top + "/level0");
            }
            out.more.emplace_back("system calls", SystemCalls([&] { make(path); }));
            return out;
        });
    };
    add("make 30 levels, missing", false);
    add("make 30 levels, present", true);
}

void AddMakes() {
    AddMake("ZQRecursiveMakeDir", [](const std::string& path) { return ZQRecursiveMakeDir(path.c_str()) == 0; });
    AddMake("mkdir for each level", MakeByMkdir);
    AddMake("std::filesystem", [](const std::string& path) {
        std::error_code error;
        std::filesystem::create_directories(path, error);
        return !error;
    });
#ifdef ZQ_HAVE_BOOST_FILESYSTEM
    AddMake("boost::filesystem", [](const std::string& path) {
        boost::system::error_code error;
        boost::filesystem::create_directories(path, error);
        return !error;
    });
#endif
#ifdef ZQ_HAVE_APR
    AddMake("APR", [](const std::string& path) {
        static apr_pool_t* const parent = [] {
            apr_pool_t* made;
            apr_pool_create(&made, nullptr);
            return made;
        }();
        apr_pool_clear(parent);
        return apr_dir_make_recursive(path.c_str(), APR_FPROT_OS_DEFAULT, parent) == APR_SUCCESS;
    });
#endif
#ifdef ZQ_HAVE_GLIB
    AddMake("GLib", [](const std::string& path) { return g_mkdir_with_parents(path.c_str(), 0777) == 0; });
#endif
}

constexpr long FileSize = 12345;

/// `look(path)` returns what is asked for: 1 for an entry that exists, or its size.
template <class Look> void AddLook(const char* workload, const char* who, long wanted, Look look) {
    bench::Loop(workload, who, [look, wanted](benchmark::State& state) {
        const std::string path = WorkDir() + "/file";
        const int fd = open(path.c_str(), O_CREAT | O_WRONLY, 0666);
        const bool made = ftruncate(fd, FileSize) == 0;
        close(fd);
        bool right = made;
        for (auto _ : state) { right = look(path.c_str()) == wanted && right; }
        return right;
    });
}

void AddLooks() {
    AddLook("exists", "ZQIsFileExist", 1, [](const char* path) { return ZQIsFileExist(path) == 0 ? 1 : 0; });
    AddLook("exists", "floor: access", 1, [](const char* path) { return access(path, F_OK) == 0 ? 1 : 0; });
    AddLook("exists", "std::filesystem", 1, [](const char* path) { return std::filesystem::exists(path) ? 1 : 0; });
    AddLook("size", "ZQGetFileSize", FileSize, [](const char* path) { return ZQGetFileSize(path); });
    AddLook("size", "floor: stat", FileSize, [](const char* path) {
        struct stat status;
        return stat(path, &status) == 0 ? status.st_size : -1;
    });
    AddLook("size", "std::filesystem", FileSize,
            [](const char* path) { return static_cast<long>(std::filesystem::file_size(path)); });
#ifdef ZQ_HAVE_BOOST_FILESYSTEM
    AddLook("exists", "boost::filesystem", 1, [](const char* path) { return boost::filesystem::exists(path) ? 1 : 0; });
    AddLook("size", "boost::filesystem", FileSize,
            [](const char* path) { return static_cast<long>(boost::filesystem::file_size(path)); });
#endif
#ifdef ZQ_HAVE_APR
    AddLook("size", "APR", FileSize, [](const char* path) {
        static apr_pool_t* const pool = [] {
            apr_pool_t* made;
            apr_pool_create(&made, nullptr);
            return made;
        }();
        apr_pool_clear(pool);
        apr_finfo_t info;
        return apr_stat(&info, path, APR_FINFO_SIZE, pool) == APR_SUCCESS ? static_cast<long>(info.size) : -1;
    });
#endif
#ifdef ZQ_HAVE_GLIB
    AddLook("exists", "GLib", 1, [](const char* path) { return g_file_test(path, G_FILE_TEST_EXISTS) ? 1 : 0; });
#endif
}
}  // namespace

void bench::Register() {
#ifdef ZQ_HAVE_APR
    apr_initialize();
#endif
    AddWalks();
    AddRemoves();
    AddMakes();
    AddLooks();
}
