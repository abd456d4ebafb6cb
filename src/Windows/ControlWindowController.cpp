#include "Windows/ControlWindowController.h"

#include "Support/MainScreen.h"
#include "Windows/WindowPlacement.h"

#include <QApplication>
#include <QCloseEvent>
#include <QMouseEvent>
#include <QScreen>
#include <QVBoxLayout>
#include <QWindow>

#include <optional>
#include <utility>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr auto animationTime = 260ms;
constexpr auto showingTime = 1s;
constexpr int dividerHeight = 1;

/// Can be dragged by any point that no control takes.
class ConsoleWindow final : public QWidget {
public:
    ConsoleWindow()
        : QWidget(nullptr,
            Qt::Window | Qt::WindowTitleHint | Qt::WindowSystemMenuHint
                | Qt::WindowMinimizeButtonHint | Qt::WindowCloseButtonHint)
    {
        setWindowTitle(u"Tarrow"_s);
    }

protected:
    void mousePressEvent(QMouseEvent* event) override
    {
        m_pressed.reset();
        if (event->button() == Qt::LeftButton)
            m_pressed = event->globalPosition();
    }

    /// Not with the press: after a click that is over before the window manager has the pointer,
    /// the window would hang on it.
    void mouseMoveEvent(QMouseEvent* event) override
    {
        if (!m_pressed || !event->buttons().testFlag(Qt::LeftButton))
            return;
        const QPointF way = event->globalPosition() - *m_pressed;
        if (way.manhattanLength() < QApplication::startDragDistance())
            return;
        m_pressed.reset();
        windowHandle()->startSystemMove();
    }

    /// The show ends here, whatever dialog may be open.
    void closeEvent(QCloseEvent* event) override
    {
        event->ignore();
        QCoreApplication::exit();
    }

private:
    /// Where on the screen, until the drag has begun.
    std::optional<QPointF> m_pressed;
};

QEasingCurve easeInEaseOut()
{
    QEasingCurve curve(QEasingCurve::BezierSpline);
    curve.addCubicBezierSegment({0.42, 0}, {0.58, 1}, {1, 1});
    return curve;
}

} // namespace

ControlWindowController::ControlWindowController(const ControlPanelView::Models& models)
    : m_window(std::make_unique<ConsoleWindow>())
    , m_panel(new ControlPanelView(models, m_window.get()))
{
    auto* content = new QVBoxLayout(m_window.get());
    content->setContentsMargins(0, 0, 0, 0);
    // The size is set here alone.
    content->setSizeConstraint(QLayout::SetNoConstraint);
    content->addWidget(m_panel);
    m_panel->onSizes = [this](const ConsoleHeights& heights) { applySizes(heights); };
    m_panel->onAlwaysOnTop = [this](bool isOnTop) { setAlwaysOnTop(isOnTop); };

    m_showing.setSingleShot(true);
    connect(&m_showing, &QTimer::timeout, this, [this] { didShow(); });

    m_animation.setDuration(static_cast<int>(animationTime.count()));
    m_animation.setEasingCurve(easeInEaseOut());
    connect(&m_animation, &QVariantAnimation::valueChanged, this,
        [this](const QVariant& frame) { applyFrame(frame.toRect()); });
}

ControlWindowController::~ControlWindowController()
{
    if (m_menuBar)
        m_menuBar->setParent(nullptr);
}

void ControlWindowController::setMenuBar(QMenuBar& menuBar)
{
    m_menuBar = &menuBar;
    m_window->layout()->setMenuBar(m_menuBar);
}

void ControlWindowController::showWindow()
{
    applySizes(m_panel->heights());
}

void ControlWindowController::afterShowing(std::function<void()> action)
{
    if (m_isShown)
        action();
    else
        m_afterShowing.push_back(std::move(action));
}

void ControlWindowController::didShow()
{
    m_isShown = true;
    for (const std::function<void()>& action : std::exchange(m_afterShowing, {}))
        action();
}

/// How wide the window's frame is, is known once the window is seen.
bool ControlWindowController::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Expose && m_window->windowHandle()->isExposed()) {
        watched->removeEventFilter(this);
        placeInDock();
        m_isInDock = true;
        // It is painted before the event loop gets there.
        m_showing.start(0);
    }
    return QObject::eventFilter(watched, event);
}

void ControlWindowController::applySizes(const ConsoleHeights& heights)
{
    if (heights.compact <= 1)
        return;
    m_contentHeight =
        heights.compact + (heights.expanded > 1 ? heights.expanded + dividerHeight : 0);
    if (m_menuBar && !m_menuBar->isNativeMenuBar())
        m_contentHeight += m_menuBar->heightForWidth(ControlPanelView::width);
    if (!m_hasSizedOnce) {
        m_hasSizedOnce = true;
        dock();
        return;
    }
    if (!m_isInDock) {
        placeInDock();
        return;
    }
    const QMargins margins = frameMargins();
    const QRect current = m_window->geometry().marginsAdded(margins);
    const QRect frame =
        resizedFrame(current, visibleArea(), m_contentHeight + margins.top() + margins.bottom());
    m_animation.stop();
    if (frame != current)
        animateTo(frame);
}

void ControlWindowController::dock()
{
    m_window->winId();
    m_window->windowHandle()->setScreen(mainScreen());
    m_window->windowHandle()->installEventFilter(this);
    placeInDock();
    m_showing.start(showingTime);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void ControlWindowController::placeInDock()
{
    const QSize content(ControlPanelView::width, m_contentHeight);
    applyFrame(dockedFrame(visibleArea(), content.grownBy(frameMargins())));
}

void ControlWindowController::animateTo(const QRect& frame)
{
    m_animation.setStartValue(m_window->geometry().marginsAdded(frameMargins()));
    m_animation.setEndValue(frame);
    m_animation.start();
}

void ControlWindowController::applyFrame(const QRect& frame)
{
    const QRect content = frame.marginsRemoved(frameMargins());
    // On the window and not on its widget: that would move it once for each limit, and the window
    // manager may meet it halfway.
    m_window->windowHandle()->setMinimumSize(content.size());
    m_window->windowHandle()->setMaximumSize(content.size());
    // By its content, which Qt knows at once; where the frame ends up, it learns later.
    if (windowsAreOursToPlace())
        m_window->setGeometry(content);
    else
        m_window->resize(content.size());
}

void ControlWindowController::setAlwaysOnTop(bool isOnTop)
{
    // On the window and not on its widget, which would hide and show it.
    m_window->windowHandle()->setFlag(Qt::WindowStaysOnTopHint, isOnTop);
}

QMargins ControlWindowController::frameMargins() const
{
    const QWindow* window = m_window->windowHandle();
    return window ? window->frameMargins() : QMargins();
}

QRect ControlWindowController::visibleArea() const
{
    const QScreen* screen = m_isInDock ? m_window->screen() : mainScreen();
    return screen ? screen->availableGeometry() : QRect(0, 0, 1440, 900);
}
