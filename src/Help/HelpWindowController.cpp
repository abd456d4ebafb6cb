#include "Help/HelpWindowController.h"

#include "Help/HelpPage.h"
#include "Support/Fonts.h"
#include "Support/MainScreen.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QScreen>
#include <QScrollBar>
#include <QTextBrowser>
#include <QTextDocument>
#include <QTextFrame>

#include <functional>

using namespace Qt::StringLiterals;

namespace {

constexpr QSize firstSize(760, 800);
constexpr QSize smallestSize(460, 400);
constexpr QMargins pagePadding(30, 28, 30, 60);
constexpr int bodySize = 15;

/// Desktops tell by their colours alone which one they have.
Appearance systemAppearance()
{
    const QPalette palette = QGuiApplication::palette();
    const bool isDark = palette.color(QPalette::Window).lightness()
        < palette.color(QPalette::WindowText).lightness();
    return isDark ? Appearance::dark : Appearance::light;
}

class HelpView final : public QTextBrowser {
public:
    std::function<void()> willClose;

    HelpView()
        : m_appearance(systemAppearance())
    {
        setWindowTitle(u"Tarrow Help"_s);
        setMinimumSize(smallestSize);
        setFrameShape(QFrame::NoFrame);
        setOpenLinks(false);
        load();
    }

protected:
    QVariant loadResource(int type, const QUrl& name) override
    {
        if (type != QTextDocument::ImageResource)
            return {};
        return helpPicture(name, m_appearance, devicePixelRatioF());
    }

    void changeEvent(QEvent* event) override
    {
        QTextBrowser::changeEvent(event);
        // Its own colours come this way, too.
        if (event->type() != QEvent::PaletteChange || m_appearance == systemAppearance())
            return;
        m_appearance = systemAppearance();
        const int place = verticalScrollBar()->value();
        load();
        verticalScrollBar()->setValue(place);
    }

    void closeEvent(QCloseEvent* event) override
    {
        QTextBrowser::closeEvent(event);
        willClose();
    }

private:
    void load()
    {
        document()->setDefaultFont(Fonts::system(bodySize, QFont::Normal));
        setHtml(helpPage(m_appearance));
        QTextFrameFormat format = document()->rootFrame()->frameFormat();
        format.setLeftMargin(pagePadding.left());
        format.setTopMargin(pagePadding.top());
        format.setRightMargin(pagePadding.right());
        format.setBottomMargin(pagePadding.bottom());
        document()->rootFrame()->setFrameFormat(format);
        QPalette colors;
        colors.setColor(QPalette::Base, helpBackground(m_appearance));
        setPalette(colors);
    }

    Appearance m_appearance;
};

/// In the middle of the screen, and no larger than it.
QRect frameOf(const QSize& size)
{
    const QScreen* screen = mainScreen();
    if (!screen)
        return {{}, size};
    QRect frame({}, size.boundedTo(screen->availableSize()));
    frame.moveCenter(screen->availableGeometry().center());
    return frame;
}

} // namespace

HelpWindowController::HelpWindowController(Preferences& preferences)
    : m_preferences(preferences)
{
}

HelpWindowController::~HelpWindowController()
{
    // Not every end of the program closes its windows.
    if (m_window)
        storeSize();
}

void HelpWindowController::openHelp()
{
    if (!m_window) {
        auto view = std::make_unique<HelpView>();
        view->willClose = [this] { windowWillClose(); };
        view->setGeometry(frameOf(storedSize()));
        m_window = std::move(view);
    }
    m_window->setWindowState(m_window->windowState() & ~Qt::WindowMinimized);
    m_window->show();
    m_window->raise();
    m_window->activateWindow();
}

void HelpWindowController::windowWillClose()
{
    storeSize();
    // It is still handling its own end.
    m_window.release()->deleteLater();
}

void HelpWindowController::storeSize()
{
    const QSize size = m_window->size();
    m_preferences.setText(frameKey.toString(), u"%1x%2"_s.arg(size.width()).arg(size.height()));
}

QSize HelpWindowController::storedSize() const
{
    static const QRegularExpression form(u"^(\\d{1,5})x(\\d{1,5})$"_s);
    const auto match = form.match(m_preferences.text(frameKey.toString()).value_or(QString()));
    if (!match.hasMatch())
        return firstSize;
    return QSize(match.captured(1).toInt(), match.captured(2).toInt()).expandedTo(smallestSize);
}
