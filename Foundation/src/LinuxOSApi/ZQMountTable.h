#ifndef ZQMOUNTTABLE_H
#define ZQMOUNTTABLE_H

#include "ZQOSApi.h"

class ZQProcFile;

/// What a line of a mount table may be long, its line feed and a null character included. What is longer is taken in pieces,
/// each as if it were a line. The two walks differ by one.
constexpr size_t ZQListMountsLine = 2048;
constexpr size_t ZQFetchMountsLine = 2047;

/// The walk of ZQGetDiskList(), over a table that is open.
int ZQListMounts(ZQProcFile& table, ZQFetchDirCallBack cb, void* user);

/// The walk of ZQFetchDiskInfo(), over a table that is open.
/// @param line  room for a line: #ZQFetchMountsLine bytes
int ZQFetchMounts(ZQProcFile& table, char* line, ZQFetchDirCallBack cb, void* user);

#endif
