#include "Support/Trap.h"

#include "Support/ControlLog.h"

#include <cstdlib>

void trap(const QString& reason)
{
    qCCritical(controlLog).noquote().nospace() << "fatal: " << reason;
    std::abort();
}
