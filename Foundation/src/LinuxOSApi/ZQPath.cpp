#include "ZQPath.h"

#include "ZQOSApi.h"

void ZQTrimSeparators(std::string& path)
{
    if (path.empty() || !ZQIsSeparator(path.back()))
    {
        return;
    }
    size_t length = path.size() - 1;
    while (length > 1 && ZQIsSeparator(path[length - 1]))
    {
        --length;
    }
    path.resize(length);
}

std::string ZQNormalisePath(const char* path)
{
    std::string normal;
    bool afterSeparator = false;
    char last = '\0';
    for (const char* p = path; *p != '\0'; ++p)
    {
        last = *p;
        if (!ZQIsSeparator(last))
        {
            normal += last;
        }
        else if (!afterSeparator)
        {
            normal += '/';
        }
        afterSeparator = ZQIsSeparator(last);
    }
    if (last != '/')
    {
        normal += '/';  // after a "\" too: "\" becomes "//", of which "/" stays
    }
    ZQTrimSeparators(normal);
    return normal;
}

std::string GetParentFolder(std::string path)
{
    const size_t separator = path.find_last_of(ZQSeparators);
    path.resize(separator == std::string::npos ? 0 : separator);
    return path;
}
