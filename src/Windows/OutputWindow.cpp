#include "Windows/OutputWindow.h"

#include "Windows/WindowPlacement.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>

using namespace Qt::StringLiterals;

namespace {

QScreen* screenOf(const ConnectedDisplay& display)
{
    for (QScreen* screen : QGuiApplication::screens()) {
        if (screen->name() == display.connector)
            return screen;
    }
    return QGuiApplication::primaryScreen();
}

} // namespace

OutputWindow::OutputWindow(const ConnectedDisplay& display, std::unique_ptr<OutputView> content)
    : m_view(std::move(content))
{
    Qt::WindowFlags flags = Qt::Window | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint
        | Qt::WindowTransparentForInput | Qt::WindowDoesNotAcceptFocus;
    // A window manager would put panels and other full-screen windows above it, and keep it on one
    // virtual desktop.
    if (windowsAreOursToPlace())
        flags |= Qt::BypassWindowManagerHint;
    m_view->setWindowFlags(flags);
    m_view->setAttribute(Qt::WA_ShowWithoutActivating);
    // The live icon, a megabyte for every new time, is for the windows that a task bar shows.
    m_view->setAttribute(Qt::WA_SetWindowIcon);
    // Nobody closes it but the router.
    m_view->setAttribute(Qt::WA_QuitOnClose, false);
    m_view->setWindowTitle(u"Tarrow — "_s + display.info.name);
    cover(display);
    if (!windowsAreOursToPlace()) {
        // Full-screen on an output is all that can be asked for; not by showFullScreen(), which
        // asks for the focus, too.
        m_view->setWindowState(Qt::WindowFullScreen);
        // Qt 6.4 heeds WindowTransparentForInput on X11 alone. A mask is nothing but the input
        // region here, and this one holds no point of the window.
        m_view->winId();
        m_view->windowHandle()->setMask(QRegion(-1, -1, 1, 1));
    }
    m_view->show();
}

OutputWindow::~OutputWindow() = default;

void OutputWindow::cover(const ConnectedDisplay& display)
{
    m_view->setScreen(screenOf(display));
    m_view->setGeometry(display.frame);
    if (windowsAreOursToPlace() && m_view->isVisible())
        m_view->raise();
}
