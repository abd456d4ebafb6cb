#include "Windows/ControlWindowController.h"

#include "helpers/Console.h"
#include "helpers/WaylandServer.h"

#include <QApplication>
#include <QRegularExpression>
#include <QTest>
#include <QWindow>

using namespace Qt::StringLiterals;

/// The operator's window where the window system places it: on a real Wayland compositor.
class ControlWindowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void followsThePanel()
    {
        QCOMPARE(QGuiApplication::platformName(), u"wayland"_s);
        Console console;
        ControlWindowController controller(console.models());
        controller.showWindow();
        QWidget& window = controller.window();
        QVERIFY(QTest::qWaitForWindowExposed(&window));
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        const int collapsed = window.height();
        QCOMPARE(window.width(), ControlPanelView::width);

        buttonCalled(window, u"Show settings"_s).click();
        QTRY_VERIFY(window.height() > collapsed + 200);
        buttonCalled(window, u"Keep console on top"_s).click();
        buttonCalled(window, u"Hide settings"_s).click();
        QTRY_COMPARE(window.height(), collapsed);
        QTRY_COMPARE(window.windowHandle()->geometry().size(), window.size());
        QVERIFY(window.isVisible());
    }
};

int main(int argc, char* argv[])
{
    const WaylandServer server;
    qputenv("WAYLAND_DISPLAY", server.name().toUtf8());
    qputenv("QT_QPA_PLATFORM", "wayland");
    // Pictures go through memory, with no graphics driver that would have to be trusted.
    qputenv("QT_WAYLAND_CLIENT_BUFFER_INTEGRATION", "none");
    QApplication application(argc, argv);
    ControlWindowTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ControlWindow.moc"
