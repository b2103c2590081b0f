#ifndef ZQTESTS_FATAL_H
#define ZQTESTS_FATAL_H

#include <functional>
#include <string>

/// Expects that @p action ends the process by SIGABRT with @p report, a regular expression, on standard error.
void ExpectAbort(const std::function<void()>& action, const std::string& report);

/// Expects that @p action ends the process by SIGSEGV with @p report, a regular expression, on standard output.
void ExpectCrash(const std::function<void()>& action, const std::string& report);

#endif
