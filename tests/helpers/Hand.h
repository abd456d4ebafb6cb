#pragma once

#include <QKeyEvent>
#include <QTest>
#include <QWidget>

/// Shows the window, and stops the test when it does not get the focus.
inline void activate(QWidget& window)
{
    window.show();
    window.activateWindow();
    if (!QTest::qWaitForWindowActive(&window))
        qFatal("the window did not get the focus");
}

/// What a key that is held down does after a while.
inline void repeatKey(QWidget& widget, Qt::Key key)
{
    QKeyEvent event(QEvent::KeyPress, key, {}, QString(), true);
    QCoreApplication::sendEvent(&widget, &event);
}
