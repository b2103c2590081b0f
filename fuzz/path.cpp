// Paths with separators of both kinds in any places.

#include "Fuzz.h"

#include <LinuxOSApi/ZQPath.h>
#include <ZQOSApi.h>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string path = TextOf(data, size).c_str();  // up to a null character
    const std::string normal = ZQNormalisePath(path.c_str());
    Require(normal.find('\\') == std::string::npos && normal.find("//") == std::string::npos, "single slashes");
    Require(normal.size() <= path.size() + 1, "no longer than before");
    Require(normal.size() < 2 || (normal.back() != '/' && ZQNormalisePath(normal.c_str()) == normal),
            "nothing left to do");

    std::string trimmed = path;
    ZQTrimSeparators(trimmed);
    Require(path.compare(0, trimmed.size(), trimmed) == 0, "a start of the path");
    const std::string parent = GetParentFolder(path);
    Require(path.compare(0, parent.size(), parent) == 0, "a start of the path");
    Require(path.find_first_of(ZQSeparators, parent.empty() ? 0 : parent.size() + 1) == std::string::npos ||
                parent.empty(),
            "the last separator");
    return 0;
}
