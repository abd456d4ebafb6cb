#pragma once

#include <QLoggingCategory>

/// The program's one log. Information is what an operator may want to follow ("command stop"),
/// errors are failures that nobody else tells them.
Q_DECLARE_LOGGING_CATEGORY(controlLog)

/// From now on every message of the program and of Qt is one line on standard error, whatever
/// standard error is: "2026-11-22 20:15:03.250 info com.quillfen.tarrow.control: …".
///
/// A reader that stops reading (a stopped terminal, a full pipe) never stops the program: lines
/// that cannot be written are dropped, and their number is told when the reader is back.
void installLogOutput();
