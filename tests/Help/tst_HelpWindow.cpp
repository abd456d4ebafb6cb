#include "Help/HelpPage.h"
#include "Help/HelpWindowController.h"

#include "helpers/MemoryPreferences.h"

#include <QApplication>
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
    void hasAllItsColorsAndPictures()
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

    void opensAsLargeAsItWas()
    {
        const QSize screen = QGuiApplication::primaryScreen()->availableSize();
        for (const auto& [stored, size] : {std::pair(QString(), QSize(760, 800).boundedTo(screen)),
                 std::pair(u"1x1"_s, QSize(460, 400)), std::pair(u"99999x99999"_s, screen)}) {
            MemoryPreferences preferences;
            preferences.texts[HelpWindowController::frameKey.toString()] = stored;
            HelpWindowController help(preferences);
            help.openHelp();
            QCOMPARE(help.window()->size(), size);
        }
    }

    /// Closed, or at the end of the program.
    void opensAgainAtTheTop()
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

    void followsTheAppearance()
    {
        MemoryPreferences preferences;
        HelpWindowController help(preferences);
        help.openHelp();
        QTextBrowser* view = viewOf(help);
        const auto background = [view] {
            return QColor(view->viewport()->grab().toImage().pixel(5, 5));
        };
        QCOMPARE(background(), QColor(0xff, 0xff, 0xff));

        setSystemColors(Qt::black, Qt::white);
        QCoreApplication::processEvents();
        QCOMPARE(background(), QColor(0x1e, 0x1e, 0x20));
        QVERIFY(view->toHtml().contains(u"#41c46a"_s));
    }
};

QTEST_MAIN(HelpWindowTest)
#include "tst_HelpWindow.moc"
