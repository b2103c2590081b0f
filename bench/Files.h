#ifndef ZQ_BENCH_FILES_H
#define ZQ_BENCH_FILES_H

/// What the contests on files need around them: a place, a tree, a count of system calls.

#include "Bench.h"

#include <functional>
#include <string>

/// The folder that ZQ_BENCH_DIR names, or the current one.
std::string WorkDir();

/// Makes a directory with so many files, if it is not there.
void MakeFiles(const std::string& dir, long files);

/// How many files a directory has: the floor of a walk, by `readdir` and `fstatat`.
long CountFiles(const std::string& dir);

/// Makes a tree of so many files, a hundred in a directory.
void MakeTree(const std::string& top, long files);

/// How many system calls @p work makes in a child of its own, counted by tracing it; -1 where that is not allowed.
double SystemCalls(const std::function<void()>& work);

#endif
