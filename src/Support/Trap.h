#pragma once

#include <QString>

/// Stops the process with one line on the log that gives the reason.
///
/// For conversions that are fatal by design: a value that has no meaning as a time is a fault
/// of the sender that must be seen at once. Whatever was stored before stays stored.
[[noreturn]] void trap(const QString& reason);
