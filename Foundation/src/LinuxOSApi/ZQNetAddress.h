#ifndef ZQNETADDRESS_H
#define ZQNETADDRESS_H

constexpr char ZQLoopbackAddress[] = "127.0.0.1";

/// Whether a text field of a record holds an address; a single character is none.
constexpr bool ZQIsAddressText(const char* text)
{
    return text[0] != '\0' && text[1] != '\0';
}

#endif
