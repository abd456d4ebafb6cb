#pragma once

#include "Support/Trap.h"

struct Trapped { };

/// Stands in for the one that ends the process. To be included once in a program; inline, it would
/// not be there for those who call it from elsewhere.
// NOLINTNEXTLINE(misc-definitions-in-headers)
void trap(const QString& /*reason*/)
{
    throw Trapped();
}
