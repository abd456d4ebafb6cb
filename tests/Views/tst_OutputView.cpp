#include "Views/OutputView.h"

#include "helpers/ManualClock.h"
#include "helpers/MemoryPreferences.h"
#include "helpers/PaintWatch.h"

#include <QScreen>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A view of an engine whose time of day is given.
struct Stage {
    MemoryPreferences preferences;
    AppSettings settings {preferences};
    ManualClock clock;
    QString timeOfDay = u"-"_s;
    TimerEngine engine {settings, clock.clock(), [this](Instant) { return timeOfDay; }};
    MessageAnimator animator {engine, clock.clock()};
    OutputView view {engine, settings, animator};

    explicit Stage(const QSize& size)
    {
        view.resize(size);
        view.show();
        if (!QTest::qWaitForWindowExposed(&view))
            qFatal("the view is not seen");
    }

    void second()
    {
        clock.advance(1s);
        engine.tick();
    }

    void message()
    {
        engine.setMessage(u"Doors"_s);
        clock.advance(300ms);
        animator.frame();
    }
};

} // namespace

class OutputViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void repaintsWhatChanged_data()
    {
        using Change = std::function<void(Stage&)>;
        QTest::addColumn<Change>("before");
        QTest::addColumn<Change>("change");
        QTest::addColumn<QRegion>("repainted");
        const auto row = [](const char* name, const Change& before, const Change& change,
                             const QRegion& region) {
            QTest::newRow(name) << before << change << region;
        };
        const QRegion nothing;
        const QRegion all(0, 0, 400, 200);
        const QRegion timeAbove(0, 0, 400, 80);
        const RGBColor green {.r = 0, .g = 1, .b = 0};
        const Change running = [](Stage&) {};
        const Change blackout = [](Stage& stage) { stage.engine.toggleBlackout(); };
        const Change second = &Stage::second;
        row("a second with a message", &Stage::message, second, timeAbove);
        row("a message", running, &Stage::message, all);
        row(
            "a color", running, [=](Stage& stage) { stage.settings.textColor = green; }, all);
        row("blackout", running, blackout, all);
        row("a second behind the blackout", blackout, second, nothing);
        row(
            "strobe", blackout, [](Stage& stage) { stage.engine.strobe(); }, all);
    }
    void repaintsWhatChanged()
    {
        QFETCH(const std::function<void(Stage&)>, before);
        QFETCH(const std::function<void(Stage&)>, change);
        QFETCH(const QRegion, repainted);
        Stage stage({400, 200});
        stage.engine.setSeconds = 3600;
        stage.engine.start(TimerEngine::RunOrigin::operatorRequest);
        before(stage);
        QCoreApplication::processEvents();
        const PaintWatch watch(stage.view);
        change(stage);
        QCoreApplication::processEvents();
        QCOMPARE(watch.painted, repainted);
    }

    /// Tails of a time of day reach below the box of the time.
    void leavesNoInkBehind()
    {
        Stage stage({1000, 500});
        stage.engine.setClock(true);
        stage.message();
        for (const QString& text : {u"Çý"_s, u"-"_s}) {
            stage.timeOfDay = text;
            stage.second();
            QCOMPARE(stage.engine.snapshot.value().timeText, text);
            QCoreApplication::processEvents();
            const QImage shown = stage.view.screen()->grabWindow(stage.view.winId()).toImage();
            QImage fresh(stage.view.size(), shown.format());
            QPainter painter(&fresh);
            paintOutput(painter, stage.view.size(),
                OutputContent::of(stage.engine, stage.settings, stage.animator));
            painter.end();
            QCOMPARE(shown, fresh);
        }
    }
};

QTEST_MAIN(OutputViewTest)
#include "tst_OutputView.moc"
