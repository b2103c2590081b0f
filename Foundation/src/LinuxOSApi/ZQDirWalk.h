#ifndef ZQDIRWALK_H
#define ZQDIRWALK_H

#include "ZQOSApi.h"

/// What a walk does with an entry whose path does not fit its buffer.
enum class ZQCutPath
{
    Deliver,  ///< The path is cut off and taken as it is: it may be that of another entry.
    Stop      ///< The walk ends with -5.
};

/// ZQFetchDir(), with a choice for paths that do not fit.
int ZQWalkDir(const char* dir, ZQCutPath cutPath, ZQFetchDirCallBack cb, void* user);

#endif
