#ifndef ZQOSRESULT_H
#define ZQOSRESULT_H

#include <cerrno>
#include <new>

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

/// The result of @p action; @p result with `errno` where it finds no memory. The flat functions tell every failure by their
/// results, and callers in other languages could not catch an exception. Not around a caller's function, whose exceptions
/// are the caller's.
template <class Result, class Action> Result ZQUnlessNoMemory(Result result, Action action)
{
    try
    {
        return action();
    }
    catch (const std::bad_alloc&)
    {
        errno = ENOMEM;
        return result;
    }
}

#endif
