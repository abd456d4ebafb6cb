#pragma once

#include <QByteArrayView>
#include <QString>

#include <optional>

/// The text that the bytes spell, or nothing when they are not UTF-8. A byte order mark is a
/// character like another, and so is an embedded NUL.
[[nodiscard]] std::optional<QString> decodeUtf8(QByteArrayView bytes);

/// The text that the bytes spell, with U+FFFD for what is not UTF-8. A byte order mark is a
/// character like another, and so is an embedded NUL.
[[nodiscard]] QString repairUtf8(QByteArrayView bytes);
