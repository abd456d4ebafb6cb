#pragma once

#include <QIcon>

/// A symbol (see paintSymbol) as an icon for buttons, in the colour of their text.
[[nodiscard]] QIcon symbolIcon(const QString& name);
