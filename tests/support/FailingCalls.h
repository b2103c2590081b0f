#ifndef ZQTESTS_FAILINGCALLS_H
#define ZQTESTS_FAILINGCALLS_H

#include <string>

/// Runs @p scenario in child processes, once for every call that it makes of every function that can fail: there the n-th call
/// of the function fails with @p error. Only the library's calls count, and for `new` all that the process makes.
///
/// Tells what came of each, as output, result and signal, unless that was the usual: "functions: outcome / outcome ..." a line.
/// A child that goes on runs the scenario again, without a failure; what that finds held or half-written is told too, and what
/// is left allocated or open.
/// @param locks  whether the functions of locks fail too
std::string SweepFailures(long (*scenario)(), int error, bool locks);

/// For operator new: whether this allocation is the one that fails.
bool AllocationFails();

#endif
