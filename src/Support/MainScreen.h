#pragma once

class QScreen;

/// The screen of the window that has the focus, otherwise the primary one; null without a screen.
[[nodiscard]] QScreen* mainScreen();
