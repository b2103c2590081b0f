#include "ZQOSApi.h"

#include <sstream>

template <class T> T ZQStrUtil::ToNumber(const std::string& text)
{
    T number = 0;
    std::istringstream(text) >> number;
    return number;
}

template ZQ_API unsigned long long ZQStrUtil::ToNumber<unsigned long long>(const std::string& text);
