#pragma once

#include <QByteArray>

#include <cstdlib>

/// Ends the fuzzer with a finding.
inline void require(bool condition, const char* reason)
{
    if (condition)
        return;
    qCritical("%s", reason);
    std::abort();
}

inline QByteArray byteArray(const uint8_t* data, size_t size)
{
    return {reinterpret_cast<const char*>(data), static_cast<qsizetype>(size)};
}
