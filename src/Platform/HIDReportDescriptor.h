#pragma once

#include <QByteArrayView>

#include <optional>

/// The longest report that a device with this report descriptor sends, in bytes, with the report's
/// number where the device numbers them. At most 16384, which no system exceeds. Nothing when the
/// descriptor is broken or has no input. The format is that of the USB HID class, version 1.11.
[[nodiscard]] std::optional<qint64> maxInputReportSize(QByteArrayView descriptor);
