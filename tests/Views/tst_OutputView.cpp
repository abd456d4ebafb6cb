#include "Views/OutputView.h"

#include "helpers/ManualClock.h"
#include "helpers/MemoryPreferences.h"

#include <QPaintEvent>
#include <QScreen>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// Remembers what it was asked to paint.
class WatchedView final : public OutputView {
public:
    using OutputView::OutputView;

    QRegion painted;

protected:
    void paintEvent(QPaintEvent* event) override
    {
        painted += event->region();
        OutputView::paintEvent(event);
    }
};

} // namespace

class OutputViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void repaintsWhatChanged_data()
    {
        QTest::addColumn<QStringList>("before");
        QTest::addColumn<QString>("change");
        QTest::addColumn<QString>("repainted");

        const QStringList running;
        const QStringList blackout {u"blackout"_s};
        const QStringList message {u"message"_s, u"settle"_s};
        QTest::newRow("a second with a message") << message << u"second"_s << u"time above"_s;
        QTest::newRow("nothing") << running << u"tick"_s << u"nothing"_s;
        QTest::newRow("a message") << running << u"message"_s << u"all"_s;
        QTest::newRow("a color") << running << u"text color"_s << u"all"_s;
        QTest::newRow("a color not in use") << running << u"red"_s << u"nothing"_s;
        QTest::newRow("a port") << running << u"port"_s << u"nothing"_s;
        QTest::newRow("blackout") << running << u"blackout"_s << u"all"_s;
        QTest::newRow("a second behind the blackout") << blackout << u"second"_s << u"nothing"_s;
        QTest::newRow("the background of a blackout") << blackout << u"background"_s << u"all"_s;
        QTest::newRow("strobe") << blackout << u"strobe"_s << u"all"_s;
    }
    void repaintsWhatChanged()
    {
        QFETCH(QStringList, before);
        QFETCH(QString, change);
        QFETCH(QString, repainted);

        MemoryPreferences preferences;
        AppSettings settings(preferences);
        ManualClock clock;
        TimerEngine engine(settings, clock.clock());
        engine.setSeconds = 3600;
        engine.start(TimerEngine::RunOrigin::operatorRequest);
        MessageAnimator animator(engine, clock.clock());
        WatchedView view(engine, settings, animator);
        view.resize(400, 200);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));

        const QMap<QString, std::function<void()>> changes {
            {u"tick"_s, [&] { engine.tick(); }},
            {u"second"_s,
                [&] {
                    clock.advance(1s);
                    engine.tick();
                }},
            {u"message"_s, [&] { engine.setMessage(u"Doors"_s); }},
            {u"settle"_s,
                [&] {
                    clock.advance(300ms);
                    animator.frame();
                }},
            {u"text color"_s, [&] { settings.textColor = {.r = 0, .g = 1, .b = 0}; }},
            {u"red"_s, [&] { settings.redColor = {.r = 0, .g = 1, .b = 0}; }},
            {u"background"_s, [&] { settings.backgroundColor = {.r = 0, .g = 1, .b = 0}; }},
            {u"port"_s, [&] { settings.udpPort = 7000; }},
            {u"blackout"_s, [&] { engine.toggleBlackout(); }},
            {u"strobe"_s, [&] { engine.strobe(); }},
        };
        for (const QString& step : before)
            changes[step]();
        QCoreApplication::processEvents();
        view.painted = {};
        changes[change]();
        QCoreApplication::processEvents();

        const QMap<QString, QRegion> regions {
            {u"nothing"_s, QRegion()},
            {u"all"_s, view.rect()},
            {u"time above"_s, QRect(0, 0, 400, 80)},
        };
        QCOMPARE(view.painted, regions[repainted]);
    }

    /// Tails of a time of day reach below the box of the time.
    void leavesNoInkBehind()
    {
        MemoryPreferences preferences;
        AppSettings settings(preferences);
        ManualClock clock;
        QString timeOfDay = u"-"_s;
        TimerEngine engine(settings, clock.clock(), [&](Instant) { return timeOfDay; });
        engine.setClock(true);
        MessageAnimator animator(engine, clock.clock());
        engine.setMessage(u"Doors"_s);
        clock.advance(300ms);
        animator.frame();
        OutputView view(engine, settings, animator);
        view.resize(1000, 500);
        view.show();
        QVERIFY(QTest::qWaitForWindowExposed(&view));

        for (const QString& text : {u"Çý"_s, u"-"_s}) {
            timeOfDay = text;
            clock.advance(1s);
            engine.tick();
            QCOMPARE(engine.snapshot.value().timeText, text);
            QCoreApplication::processEvents();
            const QImage shown = view.screen()->grabWindow(view.winId()).toImage();
            QImage fresh(view.size(), shown.format());
            QPainter painter(&fresh);
            paintOutput(painter, view.size(), OutputContent::of(engine, settings, animator));
            painter.end();
            QCOMPARE(shown, fresh);
        }
    }
};

QTEST_MAIN(OutputViewTest)
#include "tst_OutputView.moc"
