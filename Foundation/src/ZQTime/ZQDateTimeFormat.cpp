#include "ZQDateTimeLayouts.h"

#include <cstdio>
#include <cstring>

char* ZQDateTime::Format(EnumDTFormat fmt, char* buf, int len) const
{
    if (buf == nullptr)
    {
        buf = m_szText;
        len = sizeof(m_szText);
    }
    if (!IsValid() || len <= 0)
    {
        return nullptr;
    }
    const size_t size = static_cast<size_t>(len);
    std::memset(buf, 0, size);
    const _StruLayout* layout = _StruLayout::Find(fmt);
    if (layout == nullptr)
    {
        return nullptr;
    }
    const auto& fields = layout->pFields;
    std::snprintf(buf, size - 1, layout->pszWrite, this->*fields[0], this->*fields[1], this->*fields[2],
                  m_nMilliSecond);
    return buf;
}

char* ZQDateTime::Format(EnumDTFormat dateFmt, EnumDTFormat timeFmt, const char* sep, char* buf, int len) const
{
    char first[sizeof(m_szText)];
    char second[sizeof(m_szText)];
    if (Format(dateFmt, first, sizeof(first)) == nullptr || Format(timeFmt, second, sizeof(second)) == nullptr)
    {
        return nullptr;
    }
    if (buf == nullptr)
    {
        buf = m_szText;
        len = sizeof(m_szText);
    }
    const size_t total = std::strlen(first) + std::strlen(second) + std::strlen(sep);
    if (static_cast<long>(total) >= len)
    {
        return nullptr;
    }
    const size_t size = static_cast<size_t>(len);
    std::memset(buf, 0, size);
    std::snprintf(buf, size - 1, "%s%s%s", first, sep, second);
    return buf;
}

char* ZQDateTime::Format(char* buf, int len) const
{
    return Format(DTF_YYYY_MM_DD, DTF_HH_MM_SS, " ", buf, len);
}
