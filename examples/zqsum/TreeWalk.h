#ifndef ZQSUM_TREEWALK_H
#define ZQSUM_TREEWALK_H

#include "HashJob.h"
#include "ZQOSApi.h"

#include <string>
#include <vector>

/// Finds the regular files below a directory, without following links, and gives them to a job.
class TreeWalk
{
public:
    /// @param job  outlives this object
    explicit TreeWalk(HashJob& job);

    /// Walks @p arg, as it was typed; what is a file is given to the job as it is. What cannot be read is noted there.
    /// @return `false` if the job is to end
    bool Walk(const std::string& arg);

private:
    static bool OnEntry(const _ZQStruFileInfo& info, void* walk);
    bool WalkDir(const char* path);
    bool AddEntry(const _ZQStruFileInfo& info);

    HashJob& m_job;
    std::vector<std::string> m_listDirs;  // still to be walked
    std::string m_strDir;                 // being walked; "" is the root
};

#endif
