#ifndef ZQSUM_OPTIONS_H
#define ZQSUM_OPTIONS_H

#include <string>
#include <vector>

/// What the command line asks for.
struct Options
{
    int nSlots = 0;                     ///< How many files are hashed at a time.
    bool bQuiet = false;                ///< Neither progress nor summary.
    std::vector<std::string> listDirs;  ///< As they were typed, at least one.
};

/// Reads the command line.
/// @return `true` to go on; `false` when the program has to end with @p exitCode, 0 after the help text and 2 after a
///         complaint about wrong usage
bool ParseOptions(int argc, char** argv, Options& options, int& exitCode);

#endif
