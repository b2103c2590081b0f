#ifndef ZQFOUNDATION_H
#define ZQFOUNDATION_H

/// @file
/// Everything that the library offers, in one include, and its version.

#include "ZQMemoryPool.h"
#include "ZQMutex.h"
#include "ZQOSApi.h"
#include "ZQRefCountedObject.h"
#include "ZQSharedMemory.h"
#include "ZQThreadPool.h"
#include "ZQTime.h"
#include "ZxxList.h"

#define ZQ_VERSION_MAJOR 0  ///< Changes when programs have to be rebuilt or changed.
#define ZQ_VERSION_MINOR 1  ///< Changes when something is added.
#define ZQ_VERSION_PATCH 0  ///< Changes when something is mended.

#endif
