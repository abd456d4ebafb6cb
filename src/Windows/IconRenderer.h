#pragma once

#include <QImage>
#include <QString>

/// The application's icon while it runs: a dark rounded square with the time on it.
namespace IconRenderer {

/// A square picture with edges of `size` pixels, rounded up to whole ones; transparent around the
/// rounded square. Null when the size is not above 0.
[[nodiscard]] QImage image(const QString& time, double size);

} // namespace IconRenderer
