#pragma once

#include <QIcon>
#include <QImage>
#include <QString>

/// The application's icon while it runs: a dark rounded square with the time on it.
namespace IconRenderer {

/// A square picture with edges of `size` pixels, rounded up to whole ones; transparent around the
/// rounded square. Null when the size is not above 0.
[[nodiscard]] QImage image(const QString& time, double size);

/// The same as an icon. It may be new every second for hours: it leaves nothing behind in the
/// process-wide cache of pixmaps.
[[nodiscard]] QIcon icon(const QString& time, double size);

} // namespace IconRenderer
