#ifndef ZQFORK_H
#define ZQFORK_H

#include "ZQNoCancel.h"
#include "ZQOSApi.h"
#include "ZQRelaxed.h"

/// Tells the objects that a forked child has got from its parent from those of its own.
///
/// A child has one thread. The locks of its parent's other threads stay as they were, their lists may be half linked, and
/// waiting for them would last for ever. So an object that works with threads keeps the number of the process in which it
/// was made, and when an operation finds another one, it first makes the object anew, over what was there and without
/// looking at it: what the parent's threads had in hand is theirs, and its memory stays where it is.
///
/// A process that never had another thread, and descends from none that had, hands its objects on as they are, so that a
/// program may set itself up first and become a daemon then.
class ZQFork
{
public:
    /// Has the numbers counted from now on; for the constructor of the first static object.
    ZQFork();

    /// The number of this process: how many forks with several threads lie behind it.
    static int Number()
    {
        return s_nNumber;
    }

    /// Whether an object with the number @p nFork comes from the parent and was not made anew yet.
    static bool CameOver(const int& nFork)
    {
        return __builtin_expect(ZQAcquireLoad(nFork) != Number(), 0);
    }

    /// Calls @p makeAnew once if the object with the number @p nFork has come over a fork. Threads of the child that come at
    /// the same time wait for it. What it throws goes on to the caller, and the next call begins again.
    template <class MakeAnew> static void StartOver(int& nFork, MakeAnew makeAnew)
    {
        if (!CameOver(nFork))
        {
            return;
        }
        const int nBusy = ~Number();  // another one in each process: a fork may leave it behind
        const ZQNoCancel noCancel;
        int nSeen = ZQAcquireLoad(nFork);
        while (nSeen != Number())
        {
            if (nSeen == nBusy)
            {
                ZQSleep(1);
                nSeen = ZQAcquireLoad(nFork);
            }
            else if (__atomic_compare_exchange_n(&nFork, &nSeen, nBusy, false, __ATOMIC_ACQUIRE, __ATOMIC_ACQUIRE))
            {
                try
                {
                    makeAnew();
                }
                catch (...)
                {
                    ZQReleaseStore(nFork, nSeen);
                    throw;
                }
                ZQReleaseStore(nFork, Number());
                return;
            }
        }
    }

private:
    static void InChild();

    static int s_nNumber;  // changes while a child has one thread, so nobody reads it meanwhile
};

#endif
