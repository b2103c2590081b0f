#ifndef ZQGUARD_GUARDSTATE_H
#define ZQGUARD_GUARDSTATE_H

#include "ZQSharedMemory.h"

#include <string>

/// What the lock file and the shared memory of a guard are called: one of a name for each user.
std::string GuardObject(const std::string& strName);

/// What a guard tells about its program.
struct GuardState
{
    long nPid;         ///< Of the program, -1 when it does not run.
    long nStarts;      ///< How often it was started.
    long nLastExit;    ///< As by `waitpid(2)`, -1 when it has not ended yet or nobody knows.
    long nSinceEpoch;  ///< When what is now began: seconds since 1970-01-01 UTC.
};

/// A state in named shared memory: one guard writes it, any process of the same user reads it.
///
/// The fields are cells of the atomic functions around a version that is odd while they change, so that a reader never takes
/// a mixture for a state.
class SharedGuardState
{
public:
    /// @param strName  the guard's name
    /// @param bGuard   whether this is the guard: it makes the memory and removes it in the end
    SharedGuardState(const std::string& strName, bool bGuard);

    /// @return `false` if there is no such memory
    bool Open();
    /// For the guard.
    void Write(const GuardState& state);
    /// For the others. @return `false` if the guard has written nothing yet, or went away while writing
    bool Read(GuardState& state) const;

private:
    struct Cells;

    const std::string m_strObject;
    ZQSharedMemory m_memory;
};

#endif
