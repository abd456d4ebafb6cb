#pragma once

#include <QtGlobal>

#include <cstdlib>

/// Ends the fuzzer with a finding.
inline void require(bool condition, const char* reason)
{
    if (condition)
        return;
    qCritical("%s", reason);
    std::abort();
}
