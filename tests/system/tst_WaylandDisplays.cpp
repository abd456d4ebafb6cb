#include "Windows/ConnectedDisplays.h"
#include "helpers/RunningProgram.h"
#include "helpers/WaylandServer.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

/// The whole program on a real Wayland compositor, with displays that come and go.
class WaylandDisplaysTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void staysOnItsDisplays()
    {
        WaylandServer server;
        QVERIFY(server.isRunning());
        // The compositor gives every new display a new name: the third one is chosen before it is
        // there.
        const auto third =
            static_cast<qint64>(displayNumber(u"WL-3"_s, u"wayland"_s, u"wayland"_s, {}));
        RunningProgram program;
        program.setSettings({{u"enabledScreenIDs"_s, QJsonArray {third}}});
        program.environment().insert(u"WAYLAND_DISPLAY"_s, server.name());
        program.environment().insert(u"QT_QPA_PLATFORM"_s, u"wayland"_s);
        program.environment().insert(u"WAYLAND_DEBUG"_s, u"1"_s);
        QVERIFY(program.start());

        const QStringList onSecond {u"WL-2: Tarrow — wayland wayland (WL-2)"_s};
        const QStringList onThird {u"WL-3: Tarrow — wayland wayland (WL-3)"_s};
        QTRY_COMPARE(server.fullScreenWindows(), onSecond);
        // No input: the one point of its region lies outside.
        static const QRegularExpression inputRegion(
            u"wl_region@(\\d+)\\.add\\(-1, -1, 1, 1\\)\n[^\n]*set_input_region\\(wl_region@\\1\\)"_s);
        QTRY_VERIFY(QString::fromUtf8(program.log()).contains(inputRegion));
        server.unplug(u"WL-2"_s);
        QTRY_COMPARE(server.fullScreenWindows(), QStringList());
        server.plug();
        QTRY_COMPARE(server.fullScreenWindows(), onThird);
    }
};

QTEST_GUILESS_MAIN(WaylandDisplaysTest)
#include "tst_WaylandDisplays.moc"
