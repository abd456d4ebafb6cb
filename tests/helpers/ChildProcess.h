#pragma once

#include <QByteArray>

#include <functional>

/// How a piece of code that may stop its process ended.
struct ChildResult {
    /// The signal that ended the child, 0 when it exited by itself.
    int signal = 0;
    int exitCode = 0;
    QByteArray standardError;
};

/// Runs `code` in a forked copy of the test, with the program's log on its standard error.
[[nodiscard]] ChildResult runInChild(const std::function<void()>& code);
