#include "ZQMountTable.h"

#include "ZQOSResult.h"
#include "ZQProcFile.h"

#include <cstring>

namespace
{
constexpr int ListedType = 3;
constexpr int FetchedType = 1;

// The two walks have filters of their own, which differ on purpose: "autofs" and "loop" stand in one of them only.
constexpr const char* SkippedTypes[] = {"rootfs",    "proc",  "sysfs",       "devtmpfs",   "devpts", "tmpfs",
                                        "selinuxfs", "usbfs", "binfmt_misc", "rpc_pipefs", "autofs"};
constexpr char SkippedText[] = "rootfs;proc;sysfs;devtmpfs;devpts;tmpfs;selinuxfs;rpc_pipefs;binfmt_misc;usbfs;loop";

constexpr char Blanks[] = " \t\n\v\f\r";  // between the fields of a line
constexpr char Trimmed[] = " \t\n\r";     // around one that was cut at spaces alone

bool IsSkipped(const char* type)
{
    for (const char* skipped : SkippedTypes)
    {
        if (strcmp(type, skipped) == 0)
        {
            return true;
        }
    }
    return false;
}

/// Takes what is in #Trimmed off both ends of @p text, in place.
char* Trim(char* text)
{
    text += strspn(text, Trimmed);
    size_t length = strlen(text);
    while (length > 0 && strchr(Trimmed, text[length - 1]) != nullptr)
    {
        --length;
    }
    text[length] = '\0';
    return text;
}

/// The mount point of a line, "" if it has none; null if the line is passed over. The fields are taken from the line itself,
/// so that none is cut off, however long.
const char* ListedMountPoint(char* line)
{
    char* rest = nullptr;
    strtok_r(line, Blanks, &rest);
    const char* const mountPoint = strtok_r(nullptr, Blanks, &rest);
    const char* const type = strtok_r(nullptr, Blanks, &rest);
    if (type != nullptr && IsSkipped(type))
    {
        return nullptr;
    }
    return mountPoint != nullptr ? mountPoint : "";
}

/// The mount point of a line, or null if the line is passed over.
const char* FetchedMountPoint(char* line)
{
    char* rest = nullptr;
    strtok_r(line, " ", &rest);
    char* const mountPoint = strtok_r(nullptr, " ", &rest);
    char* const type = strtok_r(nullptr, " ", &rest);
    if (type == nullptr || strstr(SkippedText, Trim(type)) != nullptr)
    {
        return nullptr;
    }
    const char* const trimmed = Trim(mountPoint);
    return *trimmed == '/' ? trimmed : nullptr;
}
}  // namespace

int ZQListMounts(ZQProcFile& table, ZQFetchDirCallBack cb, void* user)
{
    char line[ZQListMountsLine];
    // A last line without a line feed is not told of.
    while (table.ReadLine(line) && !table.IsAtEnd())
    {
        const char* const mountPoint = ListedMountPoint(line);
        if (mountPoint != nullptr && !cb(_ZQStruFileInfo{mountPoint, ListedType}, user))
        {
            return ZQResultStopped;
        }
    }
    return ZQResultDone;
}

int ZQFetchMounts(ZQProcFile& table, char* line, ZQFetchDirCallBack cb, void* user)
{
    while (table.ReadLine(line, ZQFetchMountsLine))
    {
        const char* const mountPoint = FetchedMountPoint(line);
        if (mountPoint != nullptr && !cb(_ZQStruFileInfo{mountPoint, FetchedType}, user))
        {
            return ZQResultStopped;
        }
    }
    return ZQResultDone;
}
