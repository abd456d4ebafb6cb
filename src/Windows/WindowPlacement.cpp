#include "Windows/WindowPlacement.h"

#include <QGuiApplication>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int dockGap = 8;

}

bool windowsAreOursToPlace()
{
    return !QGuiApplication::platformName().startsWith(u"wayland"_s);
}

QRect dockedFrame(const QRect& visibleArea, const QSize& frameSize)
{
    const QSize size(
        frameSize.width(), std::min(frameSize.height(), visibleArea.height() - dockGap));
    const int left = visibleArea.x() + visibleArea.width() - size.width();
    return {QPoint(left, visibleArea.y()), size};
}

QRect resizedFrame(const QRect& frame, const QRect& visibleArea, int height)
{
    const int newHeight = std::min(height, visibleArea.height() - dockGap);
    const int lowestTop = visibleArea.y() + visibleArea.height() - dockGap - newHeight;
    const int top = std::min(std::max(frame.y(), visibleArea.y()), lowestTop);
    return {frame.x(), top, frame.width(), newHeight};
}
