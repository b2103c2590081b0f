#ifndef ZQPATH_H
#define ZQPATH_H

#include <string>

/// Both characters that separate the parts of a path.
constexpr char ZQSeparators[] = "/\\";

/// Whether @p c is one of them.
constexpr bool ZQIsSeparator(char c)
{
    return c == ZQSeparators[0] || c == ZQSeparators[1];
}

/// Takes separators off the end of a path. Of a path of several separators one stays; of a single one, nothing:
///
///     "ab//" => "ab"     "//" => "/"     "/" => ""
void ZQTrimSeparators(std::string& path);

/// A path with every run of separators made one "/" and those at its end taken off as by ZQTrimSeparators().
std::string ZQNormalisePath(const char* path);

#endif
