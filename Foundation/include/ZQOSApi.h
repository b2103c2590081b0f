#ifndef ZQOSAPI_H
#define ZQOSAPI_H

/// @file
/// Flat functions over the processor, the scheduler, the file system, `/proc`, network interfaces and modules.
///
/// Functions that return `int` share one set of results, where nothing else is said:
///
/// | result | meaning                                                     |
/// |--------|-------------------------------------------------------------|
/// | 0      | done                                                        |
/// | -1     | failed                                                      |
/// | -2     | exists already                                              |
/// | -3     | not found (`ENOENT`)                                        |
/// | -5     | the callback stopped it                                     |
/// | -6     | invalid argument: null or empty where not allowed, `EINVAL` |
/// | -7     | another error of the system                                 |
///
/// `errno` is left as the failing system call set it; functions that print may change it. Paths end in a null character;
/// where a function takes a path apart, both slashes and backslashes separate its parts.
///
/// Threads: every function may be called from any thread and keeps no state between calls, where nothing else is said. The
/// functions on files print nothing.
///
/// @code
/// bool Print(const _ZQStruFileInfo& info, void*) { std::puts(info.pszPath); return true; }
///
/// if (0 == ZQRecursiveMakeDir("cache/thumbnails/small")) { ZQFetchDir("cache", Print, nullptr); }
/// @endcode

#include "ZQDefine.h"

#include <cstdint>
#include <ctime>
#include <string>

/// A word that the atomic functions work on: 64 bits, naturally aligned, owned by the caller.
/// @ingroup atomics
typedef long ZQAtomicCell;

/// An entry that a walk hands to its callback.
/// @ingroup files
struct _ZQStruFileInfo
{
    const char* pszPath;  ///< The directory, "/" and the name, or a mount point; valid during the callback only.
    int nType;  ///< 1 a regular file, 2 a directory, 0 anything else or not told; the walks over mounts say theirs.
};

/// Called by a walk for an entry; returns `true` to go on, `false` to stop. @p user is what the walk was given.
/// @ingroup files
typedef bool (*ZQFetchDirCallBack)(const _ZQStruFileInfo& info, void* user);

extern "C"
{
    /// @addtogroup atomics
    /// @{

    /// @name Atomic operations
    /// Lock-free, callable from any thread and from signal handlers. Those that change a cell are full memory barriers.
    /// Mind the asymmetry: ZQAtomicInc() and ZQAtomicDec() return the new value, ZQAtomicAnd() and ZQAtomicOr() the old one.
    /// @{

    /// Stores @p value.
    ZQ_API void ZQAtomicSet(volatile long* cell, long value);
    /// Reads the cell: one load, no barrier. To read what another thread wrote before it changed the cell, use
    /// ZQAtomicOr() with 0.
    ZQ_API long ZQAtomicGet(const volatile long* cell);
    /// Adds 1. @return the value after it
    ZQ_API long ZQAtomicInc(volatile long* cell);
    /// Subtracts 1. @return the value after it
    ZQ_API long ZQAtomicDec(volatile long* cell);
    /// Keeps the bits of @p mask. @return the value before it
    ZQ_API long ZQAtomicAnd(volatile long* cell, long mask);
    /// Sets the bits of @p mask. @return the value before it
    ZQ_API long ZQAtomicOr(volatile long* cell, long mask);
    /// Stores @p desired if the cell holds @p expected. A barrier in either case. @return whether it did
    ZQ_API bool ZQAtomicCompareExchange(volatile long* cell, long expected, long desired);
    /// Stores @p value.
    ZQ_API void ZQAtomicPointerSet(void* volatile* cell, void* value);
    /// Stores @p desired if the cell holds @p expected. A barrier in either case. @return whether it did
    ZQ_API bool ZQAtomicCompareExchangePointer(void* volatile* cell, void* expected, void* desired);
    /// @}

    /// @name Scheduler
    /// @{

    /// Sleeps.
    /// @param milliseconds  from 1000 on, a rest beyond whole seconds is slept 5 ms short, and one of up to 5 ms not at all. Not
    ///                      for negative values: they are taken as a large unsigned number of microseconds, up to 71 minutes.
    ///
    /// A signal ends a sleep of less than a second. Whole seconds are slept on with, as many as `sleep(3)` tells are left. Where
    /// the time must have passed, ask a ZQTimeMeter and sleep on.
    /// Over `usleep(3)` and `sleep(3)`.
    ZQ_API void ZQSleep(int milliseconds);
    /// Lets another thread run. @return 0, as `sched_yield(2)`
    ZQ_API int ZQThreadYield();
    /// The number of processors that are online, at least 1. Over `sysconf(_SC_NPROCESSORS_ONLN)`.
    ZQ_API int ZQGetCPUProcessorNumber();
    /// @}
    /// @}

    /// @addtogroup files
    /// @{

    /// @name Making and removing
    /// @{

    /// Makes one directory with mode 0777 less the process's umask. Separators at the end of @p path are ignored.
    /// @return 0, also when something of that name exists already, a directory or not, which ZQIsFolder() tells; -6 null, empty or
    ///         a single separator; -1 any other failure. Over `mkdir(2)`.
    ZQ_API int ZQMakeDir(const char* path);
    /// Makes a directory and what is missing above it.
    ///
    /// The path is tried as given first, so a name with a backslash in it is made as that one name where its parent exists. Only
    /// when that fails are both separators taken for separators.
    /// @return 0; -6 null, empty or "/"; -1 any other failure
    ZQ_API int ZQRecursiveMakeDir(const char* path);
    /// Removes an empty directory. @return 0, also when it does not exist; -1 any other failure, a null path among them. Over
    /// `rmdir(2)`.
    ZQ_API int ZQRemoveDir(const char* path);
    /// Removes a file or an empty directory. @return 0; -3 not found; -6 null or invalid, as a "." at the end is; -1 any other
    /// failure. Over `remove(3)`.
    ZQ_API int ZQRemove(const char* path);
    /// Removes a directory with all files and directories in it, however deep and wide. Other entries, symbolic links among them,
    /// are neither followed nor removed: a tree that holds one keeps it and the directories above it. Only @p path itself is
    /// followed: of a link to a directory, the directory is emptied and both stay. What was removed before a failure stays
    /// removed.
    ///
    /// Only @p path is looked up by its path; what is in it, from the directory that holds it. So a link that somebody puts into
    /// the place of a directory meanwhile does not lead out of the tree, and neither does a directory that is moved out of it
    /// lead to what is beside its new place; what it holds may still be removed there. @p path is taken as it is named, a
    /// backslash at its end too. At most 17 descriptors are open at a time.
    /// @return 0; -3 not found; -5 something in it could not be removed, or a directory far above the one being emptied was
    ///         moved away meanwhile; -6 null or empty; -7 the directory could not be opened, or memory ran out, perhaps in the
    ///         middle; -1 the directory itself could not be removed. Over `openat(2)` and
    ///         `unlinkat(2)`.
    ZQ_API int ZQForcedRemoveDir(const char* path);
    /// @}

    /// @name Walking
    /// A walk goes over the entries of one directory, "." and ".." left out, in the order of `readdir(3)`, without descending.
    /// It holds no lock while it calls its callback, which may remove the entry that it is given.
    ///
    /// Separators at the end of the directory are left off the paths of its entries; "/" alone gives "/name". Do not end it in
    /// a backslash: to the system that is a part of its name, which the paths of the entries then lack.
    /// @{

    /// Calls @p cb for each entry of a directory. Symbolic links are not followed and have type 0: ZQIsFolder() and ZQIsFile() tell
    /// where they lead. Paths of more than 1022 bytes
    /// are cut off without notice: such an entry has the type of what the rest leads to. Where that is nothing, it is passed
    /// over, but for a symbolic link, which then has type 1.
    /// @param dir   the directory
    /// @param cb    not null
    /// @param user  handed to @p cb as it is
    /// @return 0 at the end; -3 not found; -5 stopped by @p cb; -6 @p dir is null or empty; -7 another error
    ZQ_API int ZQFetchDir(const char* dir, ZQFetchDirCallBack cb, void* user);
    /// Calls @p cb for each entry of a directory that is an empty folder by ZQIsFolderEmpty(). The type is not told: it is 0.
    /// Entries with a path of more than 1022 bytes are passed over.
    /// @param dir   the directory
    /// @param cb    not null
    /// @param user  handed to @p cb as it is
    /// @return 0 at the end; -3 not found or empty; -5 stopped by @p cb; -6 @p dir is null; -7 another error
    ZQ_API int ZQGetEmptyFolderList(const char* dir, ZQFetchDirCallBack cb, void* user);
    /// Whether a directory holds nothing but directories, at any depth; links to directories count as those, 40 of them one
    /// behind the other. Null gives `true`, what cannot be opened as a directory `false`. Its entries are looked up as those of
    /// ZQForcedRemoveDir() are: only what the directory tells as a link is followed.
    ZQ_API bool ZQIsFolderEmpty(const char* path);
    /// @}

    /// @name Facts about a path
    /// Symbolic links are followed; a link that cannot be is looked at itself, where nothing else is said. Over `stat(2)` and
    /// `lstat(2)`.
    /// @{

    /// Whether a path leads to a directory.
    /// @return 0 it does; -1 something else; -3 not found; -6 invalid; -7 another error, a null path among them
    ZQ_API int ZQIsFolder(const char* path);
    /// Whether a path leads to a regular file.
    /// @return 0 it does; -1 something else, a link that cannot be followed among it; -3 not found; -6 invalid; -7
    ///         another error, a null path among them
    ZQ_API int ZQIsFile(const char* path);
    /// Whether there is an entry of that name; a symbolic link is one wherever it leads.
    /// @return 0 there is; -3 there is not; -6 null or invalid; -7 another error
    ZQ_API int ZQIsFileExist(const char* path);
    /// Reads the time of the last modification and the size.
    /// @param path   the file, or anything else that there is
    /// @param mtime  receives whole seconds since 1970-01-01 UTC; may be null
    /// @param size   receives bytes; may be null
    /// @return 0; -3 not found; -6 null or invalid; -1 another error: then nothing is written
    ZQ_API int ZQGetFileInfo(const char* path, time_t* mtime, int64_t* size);
    /// The size in bytes, or as a negative number the result of ZQGetFileInfo().
    ZQ_API int64_t ZQGetFileSize(const char* path);
    /// The time of the last modification in whole seconds since 1970-01-01 UTC, or the result of ZQGetFileInfo(), which a time
    /// shortly before 1970 cannot be told from: ask that function itself.
    ZQ_API int64_t ZQGetLastModifiedTime(const char* path);
    /// @}
    /// @}

    /// @addtogroup disks
    /// @{

    /// @name Disks and mounts
    /// Both walks go over the mounts that the calling process sees, in the order of `/proc/mounts`, and touch none of them, so
    /// that a server which does not answer does not hold them up. A mount point is told as the table writes it: a blank in it
    /// is `\040`, a backslash `\134`. Lines of about 2 KiB and more are taken in pieces, each as if it were a line.
    ///
    /// They differ in the mounts that they pass over and in the type that they tell:
    ///
    /// | a mount                                      | ZQGetDiskList() | ZQFetchDiskInfo() |
    /// |----------------------------------------------|-----------------|-------------------|
    /// | of type `proc`, `tmpfs` and the like         | no              | no                |
    /// | of type `autofs`                             | no              | yes               |
    /// | of type `loop`                               | yes             | no                |
    /// | of type `xfs`, or another part of a name     | yes             | no                |
    /// | at a place that does not begin with "/"      | yes             | no                |
    /// | of any other type, as `ext4`                 | yes, as type 3  | yes, as type 1    |
    /// @{

    /// Tells the size of the file system that holds @p path, in bytes. May block as long as a network file system does. For what
    /// other users may still fill ask `statvfs(3)`.
    /// @param path   anything in it
    /// @param total  receives its size
    /// @param used   receives @p total less @p free
    /// @param free   receives what is free to the super-user: more than other users may fill, and more than `df` calls available
    /// @return 0; -3 not found; -6 null or invalid; -1 another error: then nothing is written. Over `statfs(2)`.
    ZQ_API int ZQGetSpaceSize(const char* path, uint64_t* total, uint64_t* used, uint64_t* free);
    /// Calls @p cb for each mount. Left out are those whose type is one of `rootfs`, `proc`, `sysfs`, `devtmpfs`, `devpts`, `tmpfs`,
    /// `selinuxfs`, `usbfs`, `binfmt_misc`, `rpc_pipefs`, `autofs`. The others that the kernel makes up, as `cgroup2`, are told
    /// of too. A line without a mount point has the path "".
    /// @param cb    not null; the record has the mount point and type 3
    /// @param user  handed to @p cb as it is
    /// @return 0 at the end; -5 stopped by @p cb; -1 the table cannot be opened. Prints nothing.
    ZQ_API int ZQGetDiskList(ZQFetchDirCallBack cb, void* user);
    /// Calls @p cb for each mount whose place begins with "/". Left out are those whose type is a part of the text
    /// `rootfs;proc;sysfs;devtmpfs;devpts;tmpfs;selinuxfs;rpc_pipefs;binfmt_misc;usbfs;loop`.
    ///
    /// Mind that `xfs` is one, at the end of "selinuxfs": disks of that type are not told of. Use ZQGetDiskList() for them.
    /// @param cb    not null; the record has the mount point and type 1
    /// @param user  handed to @p cb as it is
    /// @return 0 at the end; -5 stopped by @p cb. Where the table cannot be opened, or memory is short, it ends the process with
    ///         a report on standard output.
    ZQ_API int ZQFetchDiskInfo(ZQFetchDirCallBack cb, void* user);
    /// @}
    /// @}

    /// @addtogroup statistics
    /// @{

    /// @name System and process statistics
    /// Figures of the machine and of the calling process. Those that fail print a line on standard output that names the function
    /// and what failed, but for ZQGetAppMemoryStatus().
    ///
    /// Texts belong to the library and are valid until it is unloaded. A text is found out once in a process and cached: every
    /// later call returns the same pointer and reads nothing. What is empty is not cached, and tried again. A thread never sees
    /// a part of a text. The numbers are read anew by every call.
    /// @{

    /// Tells the memory of the calling process, in KiB; -1 in both where it cannot be told.
    /// @param residentKiB  receives what is in memory; not null
    /// @param virtualKiB   receives the size of the address space; not null
    ///
    /// Over `/proc/self/statm`.
    ZQ_API void ZQGetAppMemoryStatus(int64_t* residentKiB, int64_t* virtualKiB);
    /// The memory of the machine in the units of `sysinfo(2)`, which on 64-bit machines are bytes; -1 if that fails.
    ZQ_API int64_t ZQGetTotalPhysicalMemory();
    /// The model of the first processor as `/proc/cpuinfo` writes it: with the blank before it and the line feed behind it, as in
    /// `" Name of a processor\n"`. What stands before another ":" in it is left out. Cached.
    ///
    /// Empty on most arm64 machines, where the file does not tell a model: it is then read again by every call. Ends the process
    /// with a report on standard output if the model has more than 1023 characters.
    /// @return not null
    ZQ_API const char* ZQGetCPUVersion();
    /// The processor time that the calling process has used since the call before, in percent of one processor: up to 100 times
    /// ZQGetCPUProcessorNumber(), whose first answer it keeps.
    /// @return -1 from the first call, which only begins the measurement; -1 too from a call that comes so soon that no processor
    ///         has counted a tick (10 ms, as a rule), and where the times cannot be read. Negative where a time went back: in a
    ///         forked child whose parent had begun, and in the first call after the name got a blank.
    ///
    /// A process that has not used a tick yet has not begun: its calls count as the first. So do, but for the first of them, all
    /// calls while the name of its main thread, which is that of the program unless it was changed, holds a blank. Of
    /// the processors' time, what they wait for disks or serve interrupts is left out, so that on a machine that does much of it the share is too high.
    ///
    /// Threads: there is one measurement in the process; whoever calls ends an interval and begins the next, so leave it to one
    /// thread. Over `/proc/stat` and `/proc/<pid>/stat`.
    ZQ_API int64_t ZQGetCurProcessCpuUsage();
    /// The file name of the running program, without its directory. With " (deleted)" behind it if the file was replaced or
    /// removed before the first call. Cached.
    ///
    /// Ends the process with a report on standard output if the path of the program has more than 511 characters.
    /// @return not null; empty if `/proc/self/exe` cannot be read
    ZQ_API const char* ZQGetCurProcessName();
    /// The name, release and version of the system, as `uname(2)` tells them, with a blank between. Cached.
    /// @return not null; empty if `uname(2)` fails
    ZQ_API const char* ZQGetOSVersion();
    /// The number of threads of the calling process, the caller's among them; -1 if `/proc/<pid>/status` cannot be opened, 0 if it
    /// does not tell. Wrong, as a rule 0, while the name of its main thread holds "Threads": the file tells the name first.
    ZQ_API int ZQGetCurProcessThreadNum();
    /// Tells how many bytes the calling process has had read from disks and written to them. What was read from the page cache is
    /// not counted; what was written counts as soon as it is there, also if it is removed again before it reaches a disk.
    /// @param readBytes   receives what was read; may be null
    /// @param writeBytes  receives what was written; may be null
    /// @return 0; -1 if `/proc/<pid>/io` cannot be opened. What the file does not tell is not written.
    ZQ_API int ZQGetCurProcessDiskIOBytes(uint64_t* readBytes, uint64_t* writeBytes);
    /// @}
    /// @}

    /// @addtogroup network
    /// @{

    /// @name Network interfaces and addresses
    /// Addresses are IPv4, as dotted text. A list is one block that the caller frees with the function beside it. Failures print
    /// one line to standard output; memory that runs out ends the process with a report there. Interfaces that change during a
    /// call are seen as the system tells them.
    /// @{

    /// An address of an interface. Records follow each other without gaps, 385 bytes each.
    struct ZQIFAddrRecord
    {
        char bFlag;            ///< Always 0.
        char szAddr[128];      ///< The address.
        char szMask[128];      ///< Its netmask; empty where the system tells none.
        char szReserved[128];  ///< All zero.
    };

    /// The hardware (MAC) address of an interface. Records follow each other without gaps, 129 bytes each.
    struct ZQMacAddrRecord
    {
        char bValid;      ///< 1 in every record that counts.
        char szMac[128];  ///< Six bytes in lower-case hexadecimal, "02-fc-00-00-00-01".
    };

    /// Lists the IPv4 addresses of all interfaces in the order of the system, which may list one interface several times.
    /// 0.0.0.0 is left out. 127.0.0.1 is always there: where the system does not list it, it is the last record, with 127.0.0.1
    /// as its mask too, which is no netmask: take 255.0.0.0.
    /// @param list  receives the records, or null; free them with ZQFreeIFAddrLists()
    /// @return how many there are, at least 1; -1 the system could not be asked, with `errno`. Prints nothing. Over
    ///         `getifaddrs(3)`.
    ZQ_API int ZQGetIFAddrLists(ZQIFAddrRecord** list);
    /// Frees a list. Null is ignored.
    ZQ_API void ZQFreeIFAddrLists(ZQIFAddrRecord* list);
    /// Lists the different hardware addresses of all interfaces in the order of the system. Interfaces without one, as the
    /// loopback is, are left out; so are those that cannot be asked, with a line on standard output for each.
    /// @param list  receives the records, or null; free them with ZQFreeMacAddrLists()
    /// @return how many there are, 0 or more: then @p list is to be freed too; -1 the system could not be asked. When it cannot
    ///         list its interfaces, a descriptor stays open with every such call. Over `getifaddrs(3)` and `SIOCGIFHWADDR`.
    ZQ_API int ZQGetMacAddrLists(ZQMacAddrRecord** list);
    /// Frees a list. Null is ignored.
    ZQ_API void ZQFreeMacAddrLists(ZQMacAddrRecord* list);
    /// Whether two addresses are equal under a netmask. The texts, none of them null, are read by `inet_addr(3)`; one that is
    /// no address counts as 255.255.255.255.
    /// @return `false` also for the mask 0.0.0.0
    ZQ_API bool ZQIsSubnet(const char* ip1, const char* ip2, const char* mask);
    /// Guesses which address of this machine reaches another one. It is, in this order: that of an interface on the subnet of
    /// @p remote; the one that the system would send from, asked by connecting a UDP socket, which sends nothing; the first
    /// listed but 127.0.0.1; 127.0.0.1.
    /// @param remote  an address or the name of a host; null for an address that does not depend on one. A name is resolved,
    ///                which may block for as long as the resolver does, many seconds when no name server answers.
    /// @param out     receives the address; at least 128 bytes, which may be overwritten whole. Not @p remote.
    /// @return whether there is one; if not, @p out is empty. Prints nothing.
    ///
    /// A name, being no address, takes part in the subnets as 255.255.255.255: where the system lists no 127.0.0.1, the record
    /// that ZQGetIFAddrLists() adds matches it, and the guess is 127.0.0.1.
    ZQ_API bool ZQGuessLocalIp(const char* remote, char* out);
    /// @}
    /// @}

    /// @addtogroup modules
    /// @{

    /// @name Modules, directories and identifiers
    /// The working directory and the environment belong to the whole process. As `getenv(3)` and `setenv(3)`, ZQGetDllDir() and
    /// ZQSetDllDir() must not run while another thread changes the environment: call ZQSetDllDir() before threads start.
    /// @{

    /// Loads a module; its symbols are bound when they are first used.
    /// @param file  a path, or a name that the loader looks for; null gives the program itself
    /// @return a handle for ZQFreeLibrary(), or null after a line on standard output with the loader's reason. Over `dlopen(3)`.
    ZQ_API void* ZQLoadLibrary(const char* file);
    /// Gives a handle back; the module goes with its last one. Null is ignored. Over `dlclose(3)`.
    ZQ_API void ZQFreeLibrary(void* handle);
    /// The address of a symbol, or null if there is none or @p handle is null. Over `dlsym(3)`.
    ZQ_API void* ZQGetProcAddress(void* handle, const char* symbol);
    /// Writes the working directory.
    /// @param buf   receives the path; null has the system allocate it, for `free(3)`
    /// @param size  of @p buf in bytes, the null character included
    /// @return @p buf, or null with `errno`: `ERANGE` when it is too small, `EINVAL` when @p size is negative, or 0 with a buffer.
    ///         Over `getcwd(3)`.
    ZQ_API char* ZQGetCurrentDir(char* buf, int size);
    /// Changes the working directory. @return whether it did; if not, see `errno`. Over `chdir(2)`.
    ZQ_API bool ZQSetCurrentDir(const char* path);
    /// The directory of the running program with a "/" at its end, symbolic links followed. It is read once and kept, so every
    /// call returns the same pointer; neither free nor change it. A path that cannot be read or has 1024 bytes or more ends the
    /// process with a report on standard error. Over `/proc/self/exe`.
    ZQ_API const char* ZQGetApplicationPath();
    /// Copies `LD_LIBRARY_PATH`, directories separated by ":".
    /// @param buf   receives up to @p size - 1 characters. They end in a null character only where the value is shorter than
    ///              that: hand in a buffer of zeros.
    /// @param size  of @p buf in bytes
    /// @return @p buf, or null when it is null, @p size is 0 or the variable is not set: then nothing is written
    ZQ_API char* ZQGetDllDir(char* buf, unsigned int size);
    /// Adds a directory at the end of `LD_LIBRARY_PATH`, also when it is there already, or removes the variable. Programs that
    /// are started later see it; the loader of this one does not: give ZQLoadLibrary() a path.
    /// @param dir  the directory; null removes the variable
    /// @return 0, or 1 on failure with `errno`: the other way round than ZQSetCurrentDir()
    ZQ_API int ZQSetDllDir(const char* dir);
    /// Writes a new UUID, "1b4e28ba-2fa1-41d2-883f-b9a761bde3fb": random where the system has a source of random numbers.
    /// @param out  at least 37 bytes, not checked
    /// @return @p out
    ///
    /// Over libuuid, with which programs that link this library are linked too. Of its functions, those that pack a
    /// `struct uuid`, a 32-bit field, three of 16 bits and six bytes, into 16 bytes in network order and back are exported by
    /// this library, since not every libuuid does: `void uuid_pack(const struct uuid* fields, unsigned char* packed)` and
    /// `void uuid_unpack(const unsigned char* packed, struct uuid* fields)`. No header declares them.
    ZQ_API char* ZQGenerateUUID(char* out);
    /// @}
    /// @}

    /// @addtogroup processes
    /// @{

    /// @name Processes
    /// Starting, ending and finding programs. Invalid arguments, and what is said below, are told by a line on standard
    /// output; nothing ends the caller. An id is
    /// that of one process: 0, negative ones and those above `INT_MAX` are invalid.
    /// @{

    /// Starts a program as a child.
    ///
    /// Every descriptor above 2 of the calling process is marked close-on-exec, with a line on standard output for each, and
    /// stays so. What other threads open meanwhile does not reach the program either, from Linux 5.11 on.
    ///
    /// Without the console, terminals among the child's standard streams are replaced, as `nohup(1)` does: reading from standard
    /// input fails; standard output goes to the end of "nohup.out" in the folder of @p path, made with mode 0600, in "/" if
    /// @p path has no folder; standard error follows standard output, or goes to that file if there is none; hanging up is
    /// ignored. If standard input or that file cannot be opened, the program runs all the same, with what was replaced before
    /// and hung up with the terminal; in the latter case with a umask of 0177. Streams that are no terminals stay what they
    /// are.
    /// @param path             the program, looked for in `PATH` if it has no slash; the child's argument 0
    /// @param bInheritConsole  whether the child keeps the caller's terminal
    /// @param argc             the number of further arguments, up to 127; 0 and less for none
    /// @param argv             the arguments; not null if @p argc is above 0
    /// @return the id of the child, which exits with status 72 if the program cannot be run; -1 @p path is null, there are too
    ///         many arguments, or no process could be made. The child is to be reaped, by `waitpid(2)` for its exit status or by
    ///         ZQCloseProcess(). Over `fork(2)` and `execvp(3)`.
    ZQ_API long ZQOpenProcess(const char* path, bool bInheritConsole, int argc, const char** argv);
    /// Asks a process by SIGINT to end, and waits until it is gone. The exit status of a child is taken and lost.
    /// @param pid        the process; another one that gets its id meanwhile is left alone, where the kernel has `pidfd_open(2)`
    /// @param timeoutMs  milliseconds, counted in rounds of 10; -1 waits for ever
    /// @return whether it was gone with time left, so `false` for a @p timeoutMs of 0 in any case: ask
    ///         ZQIsProcessAlive() then; `false` also for invalid
    ///         arguments and where the signal cannot be sent. What has ended and is not reaped, as a child of another process
    ///         may be, is not gone.
    ZQ_API bool ZQCloseProcess(long pid, int timeoutMs);
    /// Tells a process by SIGTERM to end, without waiting; a child that has ended by then is reaped.
    /// @return whether the signal could be sent
    ZQ_API bool ZQTerminateProcess(long pid);
    /// Whether there is a process that the caller may signal; one that has ended and waits to be reaped is. Over `kill(2)`.
    ZQ_API bool ZQIsProcessAlive(long pid);
    /// Finds the processes that run a program. Those of other users are found only where the caller may read their `exe` link.
    /// @param path   looked for anywhere in the path of the running program, which is absolute, without symbolic links and taken
    ///               up to 1023 bytes; backslashes count as slashes
    /// @param pids   receives the ids, in the order of `/proc`
    /// @param count  the number of ids that fit, at least 1; receives the number found. Not null.
    /// @return `false` for invalid arguments, which leave @p count as it is; else `true`, also when none is found and when there
    ///         are more than fit, which a line on standard output tells
    ZQ_API bool ZQGetAliveProcessList(const char* path, long* pids, int* count);
    /// @}
    /// @}

    /// @name Internal, exported for the library's own use
    /// @{

    /// The callback of ZQForcedRemoveDir(): removes the entry if it is a file or a directory. @return whether to go on
    ZQ_API bool RemoveDirFileCallBack(const _ZQStruFileInfo& info, void* user);
    /// Makes @p fd a descriptor of @p path, opened with @p flags and @p mode as by `open(2)`. @return it, or -1 with `errno`
    ZQ_API int fd_reopen(int fd, const char* path, int flags, unsigned int mode);
    /// Detaches the calling process from its terminal, for the program @p path, as told at ZQOpenProcess(). @return 0; -1 when
    /// standard input or the output file could not be opened
    ZQ_API int _Mynohup(const char* path);
    /// Marks every descriptor of the process above 2 close-on-exec, with a line on standard output for each.
    ZQ_API void _SetFD_CLOEXEC();
    /// @}
}

/// The text before the last separator, "" without one.
///
///     "a/b/c" => "a/b"     "a\\b"  => "a"     "/a" => ""
///     "a/b/"  => "a/b"     "abc"  => ""       ""   => ""
/// @ingroup files
ZQ_API std::string GetParentFolder(std::string path);

/// Texts to numbers.
/// @ingroup modules
class ZQ_API ZQStrUtil
{
public:
    /// The number at the start of @p text, as an input string stream reads it: white space before it is passed over, and what
    /// follows it is ignored. 0 if there is none; the greatest number if it is greater than that; a minus sign wraps.
    ///
    /// The library has it for `unsigned long long` alone.
    template <class T> static T ToNumber(const std::string& text);
};

extern template ZQ_API unsigned long long ZQStrUtil::ToNumber<unsigned long long>(const std::string& text);

#endif
