#ifndef ZQSUM_HASHJOB_H
#define ZQSUM_HASHJOB_H

#include "FileHash.h"
#include "ZQMutex.h"
#include "ZQThreadPool.h"

#include <deque>
#include <functional>
#include <vector>

/// How far a job has come.
struct JobProgress
{
    long nFound;      ///< Files that were queued.
    long nFinished;   ///< Files that need no more work, failed ones among them.
    uint64_t nBytes;  ///< Read so far.
    bool bComplete;   ///< Whether all files have been found.
};

/// Hashes the files that it is given on the process-wide threads, and keeps the results.
///
/// Threads: one, the owner's, calls everything but GetProgress(), which any may call. Workers meet it in the task pool's
/// queue and in two counters; an entry belongs to the worker that hashes it until the count of finished files has grown
/// for it. A lock is taken only to wake the owner when he waits.
class HashJob
{
public:
    typedef std::function<bool()> GoOnFunction;

    /// @param nSlots    how many files are hashed at a time
    /// @param fnGoOn    asked by the owner's thread for each file and while it waits, every 100 ms or more often; `false`
    ///                  ends the job
    HashJob(int nSlots, GoOnFunction fnGoOn);
    /// Waits for running files and drops waiting ones.
    ~HashJob();
    HashJob(const HashJob&) = delete;
    HashJob& operator=(const HashJob&) = delete;

    /// Whether the job is to go on.
    bool GoesOn();
    /// Queues a file, and waits while the queue is full.
    /// @param bFollow  whether @p strPath may be a link
    /// @return `false` if the job is to end
    bool Add(std::string strPath, bool bFollow);
    /// Notes that @p strPath could not be read, for the reason of the errno value @p error.
    void AddFailure(std::string strPath, int error);
    /// Says that no more files come, and waits for the queued ones. When the job is to end, the waiting files are dropped
    /// and the running ones waited for.
    void Finish();

    /// How far the job is.
    JobProgress GetProgress() const;
    /// All that was added, in the order of the bytes of the paths. Valid after Finish().
    std::vector<const FileEntry*> GetSorted() const;

private:
    struct FreeMethod
    {
        void operator()(EVP_MD* pMethod) const
        {
            EVP_MD_free(pMethod);
        }
    };

    static void RunTask(void* entry, void* job);
    static void DropTask(void* entry, void* job);
    FileHash& ThreadHash();
    void FinishOne();
    bool QueueNewest();
    bool Queue(FileEntry& entry);
    bool WaitForFinished(long nFinished, bool bGiveUp);

    const std::unique_ptr<EVP_MD, FreeMethod> m_pMethod;
    const GoOnFunction m_fnGoOn;
    std::deque<FileEntry> m_listEntries;  // never moves an entry
    size_t m_nQueued;                     // so many of them have been queued, or need not be
    std::atomic<long> m_nFound;
    std::atomic<long> m_nFinished;  // hashed, failed or dropped
    std::atomic<uint64_t> m_nBytes;
    std::atomic<bool> m_bComplete;

    std::atomic<long> m_nWakeAt;  // the owner waits for this many finished files; NobodyWaits if he does not
    ZQMutex m_mutex;              // guards the following list, and keeps a wake-up from being missed
    ZQCond m_cond;
    std::vector<std::unique_ptr<FileHash>> m_listHashes;

    ZQTaskPool m_pool;  // last, so that it ends first
};

#endif
