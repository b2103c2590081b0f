#include "ZQCheck.h"

#include <cstdio>
#include <cstdlib>

void ZQCheck::Abort(const char* expression, const char* message, int line) const
{
    std::fprintf(stderr, "abort %s:%d expre: %s, %s \n", m_pszModule, line, expression, message);
    std::abort();
}
