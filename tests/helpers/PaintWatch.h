#pragma once

#include <QPaintEvent>
#include <QWidget>

/// Collects what a widget is asked to paint.
class PaintWatch final : public QObject {
public:
    explicit PaintWatch(QWidget& widget) { widget.installEventFilter(this); }

    QRegion painted;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent*>(event)->region();
        return false;
    }
};
