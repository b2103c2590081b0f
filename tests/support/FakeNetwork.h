#ifndef ZQTESTS_FAKENETWORK_H
#define ZQTESTS_FAKENETWORK_H

#include <vector>

/// An entry of the table of interfaces.
struct FakeInterface {
    const char *name, *address, *mask;  // may be null; an address with ":" is not IPv4
    const char* hardware;               // six bytes
};

/// From now on the library sees these interfaces. Of all hosts it sees only "local.test", 127.0.0.5, at any time.
/// @param fails  the table cannot be read
void UseInterfaces(const std::vector<FakeInterface>& table, bool fails = false);

#endif
