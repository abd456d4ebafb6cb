#include "Support/MainScreen.h"

#include <QGuiApplication>
#include <QWindow>

QScreen* mainScreen()
{
    const QWindow* focused = QGuiApplication::focusWindow();
    return focused ? focused->screen() : QGuiApplication::primaryScreen();
}
