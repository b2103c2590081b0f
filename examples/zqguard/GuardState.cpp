#include "GuardState.h"

#include "ZQOSApi.h"

#include <unistd.h>

namespace
{
constexpr int MostReads = 1000;  // a guard that was killed while writing leaves an odd version for ever
}

std::string GuardObject(const std::string& strName)
{
    return "zqguard-" + std::to_string(getuid()) + "-" + strName;
}

struct SharedGuardState::Cells
{
    ZQAtomicCell nVersion;  // 0 when nothing was written; new shared memory is all 0
    ZQAtomicCell nPid;
    ZQAtomicCell nStarts;
    ZQAtomicCell nLastExit;
    ZQAtomicCell nSinceEpoch;
};

SharedGuardState::SharedGuardState(const std::string& strName, bool bGuard)
    : m_strObject(GuardObject(strName)),
      m_memory(m_strObject.c_str(), sizeof(Cells),
               bGuard ? ZQSharedMemory::AccessReadWrite : ZQSharedMemory::AccessReadOnly, nullptr, bGuard)
{
}

bool SharedGuardState::Open()
{
    // A guard that was killed at the wrong moment leaves an object of no length, reading which would fault.
    return m_memory.Create() &&
           ZQGetFileSize(("/dev/shm/" + m_strObject).c_str()) >= static_cast<int64_t>(sizeof(Cells));
}

void SharedGuardState::Write(const GuardState& state)
{
    Cells& cells = *static_cast<Cells*>(m_memory.Begin());
    // Of an earlier guard that was killed an odd version may have stayed.
    ZQAtomicOr(&cells.nVersion, 1);
    ZQAtomicSet(&cells.nPid, state.nPid);
    ZQAtomicSet(&cells.nStarts, state.nStarts);
    ZQAtomicSet(&cells.nLastExit, state.nLastExit);
    ZQAtomicSet(&cells.nSinceEpoch, state.nSinceEpoch);
    ZQAtomicInc(&cells.nVersion);
}

bool SharedGuardState::Read(GuardState& state) const
{
    const Cells& cells = *static_cast<const Cells*>(m_memory.Begin());
    // With acquire, so that the version is read again after all the others.
    const auto load = [](const ZQAtomicCell& cell) { return __atomic_load_n(&cell, __ATOMIC_ACQUIRE); };
    for (int i = 0; i < MostReads; ++i)
    {
        const long version = load(cells.nVersion);
        state = GuardState{load(cells.nPid), load(cells.nStarts), load(cells.nLastExit), load(cells.nSinceEpoch)};
        if (version != 0 && version % 2 == 0 && load(cells.nVersion) == version)
        {
            return true;
        }
        ZQThreadYield();
    }
    return false;
}
