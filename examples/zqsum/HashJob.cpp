#include "HashJob.h"

#include <algorithm>
#include <stdexcept>

namespace
{
constexpr long MaxWaiting = 1024;
// Files are queued so many at a time: workers faster than the walk would otherwise be woken for each file.
constexpr size_t BurstSize = 64;
constexpr int WaitSliceMs = 100;
constexpr long NobodyWaits = -1;
constexpr int QueueFull = -3;

// The calling worker's own, owned by the job. A process has one job.
thread_local FileHash* t_pHash = nullptr;
}  // namespace

HashJob::HashJob(int nSlots, GoOnFunction fnGoOn)
    : m_pMethod(EVP_MD_fetch(nullptr, "SHA256", nullptr)), m_fnGoOn(std::move(fnGoOn)), m_nQueued(0), m_nFound(0),
      m_nFinished(0), m_nBytes(0), m_bComplete(false), m_nWakeAt(NobodyWaits), m_pool(MaxWaiting, nSlots)
{
    if (m_pMethod == nullptr)
    {
        throw std::runtime_error("SHA-256 is not available");
    }
    if (m_pool.Init(nullptr, RunTask, DropTask, this) != 0)
    {
        throw std::runtime_error("the task pool cannot be started");
    }
}

HashJob::~HashJob()
{
    m_pool.Uninit(false);
}

bool HashJob::GoesOn()
{
    return m_fnGoOn();
}

bool HashJob::Add(std::string strPath, bool bFollow)
{
    if (!GoesOn())
    {
        return false;
    }
    m_listEntries.push_back(FileEntry{std::move(strPath), bFollow, FileEntry::Waiting, 0, {}});
    ++m_nFound;
    return m_listEntries.size() - m_nQueued < BurstSize || QueueNewest();
}

void HashJob::AddFailure(std::string strPath, int error)
{
    m_listEntries.push_back(FileEntry{std::move(strPath), false, FileEntry::Failed, error, {}});
}

void HashJob::Finish()
{
    m_bComplete = true;
    if (!QueueNewest() || !WaitForFinished(m_nFound, true))
    {
        m_pool.Clean();
        WaitForFinished(m_nFound, false);
    }
}

JobProgress HashJob::GetProgress() const
{
    const long nFinished = m_nFinished;  // first, so that it is never the greater one
    return JobProgress{m_nFound, nFinished, m_nBytes, m_bComplete};
}

std::vector<const FileEntry*> HashJob::GetSorted() const
{
    std::vector<const FileEntry*> listSorted;
    listSorted.reserve(m_listEntries.size());
    for (const FileEntry& entry : m_listEntries)
    {
        listSorted.push_back(&entry);
    }
    std::sort(listSorted.begin(), listSorted.end(),
              [](const FileEntry* a, const FileEntry* b) { return a->strPath < b->strPath; });
    return listSorted;
}

void HashJob::RunTask(void* entry, void* job)
{
    HashJob* pThis = static_cast<HashJob*>(job);
    pThis->ThreadHash().Run(*static_cast<FileEntry*>(entry), pThis->m_nBytes);
    pThis->FinishOne();
}

void HashJob::DropTask(void*, void* job)
{
    static_cast<HashJob*>(job)->FinishOne();
}

/// The calling thread's context and buffer. They are the job's, because a thread of the pool may outlive what they need.
FileHash& HashJob::ThreadHash()
{
    if (t_pHash == nullptr)
    {
        auto pHash = std::make_unique<FileHash>(m_pMethod.get());
        t_pHash = pHash.get();
        ZQAutoMutex lock(m_mutex);
        m_listHashes.push_back(std::move(pHash));
    }
    return *t_pHash;
}

/// Counts a file as finished. The owner writes what he waits for before he looks at the count, here it is the other way
/// round: one of the two sees the other, in the single order of these operations.
void HashJob::FinishOne()
{
    const long nFinished = ++m_nFinished;
    if (nFinished == m_nWakeAt)
    {
        ZQAutoMutex lock(m_mutex);
        m_cond.Signal();
    }
}

/// Queues what has not been queued yet; what cannot be is counted as finished. @return `false` if the job is to end
bool HashJob::QueueNewest()
{
    bool bQueued = true;
    for (; m_nQueued < m_listEntries.size(); ++m_nQueued)
    {
        FileEntry& entry = m_listEntries[m_nQueued];
        if (entry.state != FileEntry::Waiting)
        {
            continue;
        }
        bQueued = bQueued && Queue(entry);
        if (!bQueued)
        {
            FinishOne();
        }
    }
    return bQueued;
}

/// Queues one file, and waits while the queue is full. @return `false` if the job is to end
bool HashJob::Queue(FileEntry& entry)
{
    int result;
    while ((result = m_pool.Task(&entry, false)) == QueueFull)
    {
        // Until it is half empty, so that the walk and the workers do not change places for each file.
        if (!WaitForFinished(m_nFinished + MaxWaiting / 2, true))
        {
            return false;
        }
    }
    return result == 0;
}

/// Waits until @p nFinished files are finished.
/// @param bGiveUp  whether to give up when the job is to end; returns `false` then
bool HashJob::WaitForFinished(long nFinished, bool bGiveUp)
{
    m_nWakeAt = nFinished;
    bool bGoesOn = true;
    while (m_nFinished < nFinished)
    {
        bGoesOn = GoesOn() || !bGiveUp;
        if (!bGoesOn)
        {
            break;
        }
        ZQAutoMutex lock(m_mutex);
        if (m_nFinished < nFinished)
        {
            m_cond.WaitTimeout(m_mutex, WaitSliceMs);
        }
    }
    m_nWakeAt = NobodyWaits;
    return bGoesOn;
}
