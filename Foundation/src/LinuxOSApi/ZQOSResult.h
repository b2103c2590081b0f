#ifndef ZQOSRESULT_H
#define ZQOSRESULT_H

#include <cerrno>

/// The results that the operating-system functions share.
enum ZQOSResult : int
{
    ZQResultDone = 0,
    ZQResultFailed = -1,
    ZQResultExists = -2,
    ZQResultNotFound = -3,
    ZQResultStopped = -5,
    ZQResultInvalid = -6,
    ZQResultOther = -7
};

/// The result that an error number stands for.
/// @param other  the result for every error but `ENOENT` and `EINVAL`
inline ZQOSResult ZQResultOfError(int error, ZQOSResult other)
{
    switch (error)
    {
    case ENOENT: return ZQResultNotFound;
    case EINVAL: return ZQResultInvalid;
    default: return other;
    }
}

#endif
