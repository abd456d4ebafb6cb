#include "Help/HelpPage.h"
#include "Help/HelpWindowController.h"

#include "helpers/MemoryPreferences.h"

#include <QApplication>
#include <QDebug>
#include <QImage>
#include <QRegularExpression>
#include <QScreen>
#include <QScrollBar>
#include <QTest>
#include <QTextBrowser>

using namespace Qt::StringLiterals;

namespace {

QTextBrowser* viewOf(const HelpWindowController& help)
{
    return qobject_cast<QTextBrowser*>(help.window());
}

/// As the desktop does when it changes its appearance.
void setSystemColors(const QColor& window, const QColor& text)
{
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    QApplication::setPalette(palette);
}

} // namespace

class HelpWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { setSystemColors(Qt::white, Qt::black); }
    void hasAllItsColorsAndPictures();
    void opensOneWindow();
    void opensInTheMiddleAsLargeAsItWas_data();
    void opensInTheMiddleAsLargeAsItWas();
    void opensAgainAtTheTop();
    void followsTheAppearance();
};

void HelpWindowTest::hasAllItsColorsAndPictures()
{
    const QString page = helpPage(Appearance::dark);
    QVERIFY(!page.contains(u'$'));
    static const QRegularExpression address(u"<img src=\"([^\"]*)\""_s);
    for (auto images = address.globalMatch(page); images.hasNext();) {
        const QString source = images.next().captured(1);
        const QImage picture = helpPicture(QUrl(source), Appearance::dark, 2);
        QImage blank = picture;
        blank.fill(Qt::transparent);
        QVERIFY2(!picture.isNull() && picture != blank, qUtf8Printable(source));
    }
}

void HelpWindowTest::opensOneWindow()
{
    MemoryPreferences preferences;
    HelpWindowController help(preferences);
    help.openHelp();
    const QWidget* window = help.window();
    QCOMPARE(window->windowTitle(), u"Tarrow Help"_s);
    help.window()->showMinimized();
    help.openHelp();
    QCOMPARE(help.window(), window);
    QVERIFY(!window->isMinimized());
}

void HelpWindowTest::opensInTheMiddleAsLargeAsItWas_data()
{
    QTest::addColumn<QString>("stored");
    QTest::addColumn<QSize>("size");

    const QSize screen = QGuiApplication::primaryScreen()->availableSize();
    const QSize first = QSize(760, 800).boundedTo(screen);
    QTest::newRow("never open before") << QString() << first;
    QTest::newRow("as it was") << u"500x600"_s << QSize(500, 600).boundedTo(screen);
    QTest::newRow("too small") << u"1x1"_s << QSize(460, 400);
    QTest::newRow("larger than the screen") << u"99999x99999"_s << screen;
    QTest::newRow("no size") << u"500x600x"_s << first;
}

void HelpWindowTest::opensInTheMiddleAsLargeAsItWas()
{
    QFETCH(QString, stored);
    QFETCH(QSize, size);

    MemoryPreferences preferences;
    preferences.texts[HelpWindowController::frameKey.toString()] = stored;
    HelpWindowController help(preferences);
    help.openHelp();
    QCOMPARE(help.window()->size(), size);
    const QPoint middle = QGuiApplication::primaryScreen()->availableGeometry().center();
    const QPoint distance = help.window()->geometry().center() - middle;
    // Qt's offscreen platform has a frame of two points, and keeps windows on the screen.
    QVERIFY2(distance.manhattanLength() <= 4, qPrintable(QDebug::toString(distance)));
}

/// Closed, or at the end of the program.
void HelpWindowTest::opensAgainAtTheTop()
{
    MemoryPreferences preferences;
    {
        HelpWindowController help(preferences);
        help.openHelp();
        help.window()->resize(510, 420);
        QTRY_VERIFY(viewOf(help)->verticalScrollBar()->maximum() > 500);
        viewOf(help)->verticalScrollBar()->setValue(500);
        help.window()->close();
        QVERIFY(!help.window());

        help.openHelp();
        QCOMPARE(help.window()->size(), QSize(510, 420));
        QCOMPARE(viewOf(help)->verticalScrollBar()->value(), 0);
        help.window()->resize(1, 1);
    }
    QCOMPARE(preferences.texts[HelpWindowController::frameKey.toString()], u"460x400"_s);
}

void HelpWindowTest::followsTheAppearance()
{
    MemoryPreferences preferences;
    HelpWindowController help(preferences);
    help.openHelp();
    QTextBrowser* view = viewOf(help);
    QTRY_VERIFY(view->verticalScrollBar()->maximum() > 500);
    view->verticalScrollBar()->setValue(500);
    const auto background = [view] {
        return QColor(view->viewport()->grab().toImage().pixel(5, 5));
    };
    QCOMPARE(background(), QColor(0xff, 0xff, 0xff));

    setSystemColors(Qt::black, Qt::white);
    QCoreApplication::processEvents();
    QCOMPARE(background(), QColor(0x1e, 0x1e, 0x20));
    QCOMPARE(view->verticalScrollBar()->value(), 500);
    QVERIFY(view->toHtml().contains(u"#41c46a"_s));

    setSystemColors(Qt::white, Qt::black);
    QCoreApplication::processEvents();
    QCOMPARE(background(), QColor(0xff, 0xff, 0xff));
}

QTEST_MAIN(HelpWindowTest)
#include "tst_HelpWindow.moc"
