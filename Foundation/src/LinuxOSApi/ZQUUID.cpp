#include "ZQOSApi.h"

#include <uuid/uuid.h>

/// The fields of a UUID, in the layout of libuuid, whose header does not show it.
struct uuid
{
    uint32_t time_low;
    uint16_t time_mid;
    uint16_t time_hi_and_version;
    uint16_t clock_seq;
    uint8_t node[6];
};

namespace
{
template <class Field> unsigned char* Write(Field field, unsigned char* packed)
{
    for (size_t shift = 8 * sizeof(field); shift != 0; shift -= 8)
    {
        *packed++ = static_cast<unsigned char>(field >> (shift - 8));
    }
    return packed;
}

template <class Field> const unsigned char* Read(const unsigned char* packed, Field& field)
{
    field = 0;
    for (size_t i = 0; i < sizeof(field); ++i)
    {
        field = static_cast<Field>(field << 8 | *packed++);
    }
    return packed;
}
}  // namespace

extern "C"
{
    // Debian's libuuid keeps these two to itself.
    ZQ_API void uuid_pack(const struct uuid* fields, uuid_t packed)
    {
        packed = Write(fields->time_low, packed);
        packed = Write(fields->time_mid, packed);
        packed = Write(fields->time_hi_and_version, packed);
        packed = Write(fields->clock_seq, packed);
        for (const uint8_t byte : fields->node)
        {
            packed = Write(byte, packed);
        }
    }

    ZQ_API void uuid_unpack(const uuid_t packed, struct uuid* fields)
    {
        packed = Read(packed, fields->time_low);
        packed = Read(packed, fields->time_mid);
        packed = Read(packed, fields->time_hi_and_version);
        packed = Read(packed, fields->clock_seq);
        for (uint8_t& byte : fields->node)
        {
            packed = Read(packed, byte);
        }
    }
}

char* ZQGenerateUUID(char* out)
{
    uuid_t packed;
    uuid_generate(packed);
    uuid_unparse(packed, out);
    return out;
}
