#include "Views/ControlPanelView.h"

#include "Views/Components/MinutesField.h"
#include "Views/Components/Stepper.h"

#include "helpers/Console.h"

#include <QLabel>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

using Phase = TimerEngine::Phase;

namespace {

/// The panel in a window that has the focus.
struct Panel {
    Console console;
    TimerEngine& engine {console.engine};
    AppSettings& settings {console.settings};
    CueController& cues {console.cues};
    ControlPanelView view {console.models()};
    QLineEdit& minutes {*view.findChild<MinutesField*>()};

    Panel()
    {
        view.resize(ControlPanelView::width, 1600);
        view.show();
        view.activateWindow();
        if (!QTest::qWaitForWindowActive(&view))
            qFatal("the window did not get the focus");
    }

    [[nodiscard]] QAbstractButton& button(const QString& name) const
    {
        return buttonCalled(view, name);
    }

    void click(const QString& name) const
    {
        QAbstractButton& target = button(name);
        QTest::mouseClick(&target, Qt::LeftButton, {}, QPoint(8, target.height() / 2));
    }

    /// What the visible labels read.
    [[nodiscard]] QStringList labels() const
    {
        QStringList texts;
        for (const QLabel* label : view.findChildren<QLabel*>()) {
            if (label->isVisible())
                texts.append(label->text());
        }
        return texts;
    }

    [[nodiscard]] QLineEdit& message() const
    {
        for (QLineEdit* field : view.findChildren<QLineEdit*>()) {
            if (field->placeholderText() == u"Message to display")
                return *field;
        }
        qFatal("there is no field for the message");
    }
};

ScreenInfo screen(quint32 id, qint64 width, qint64 height)
{
    return {.id = id, .name = u"Display %1"_s.arg(id), .width = width, .height = height};
}

} // namespace

class ControlPanelViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void goes_data();
    void goes();
    void hearsReturn_data();
    void hearsReturn();
    void setsAndShiftsMinutes();
    void followsTheModes();
    void runsTheCues();
    void showsTheCurrentCue_data();
    void showsTheCurrentCue();
    void togglesStates_data();
    void togglesStates();
    void sendsMessages();
    void stepsThresholds_data();
    void stepsThresholds();
    void listsDisplays();
    void showsWebAddresses();
    void shapesThePreview_data();
    void shapesThePreview();
    void reportsHeights();
    void isWalkedWithTab();
};

void ControlPanelViewTest::goes_data()
{
    QTest::addColumn<QString>("minutes");
    QTest::addColumn<QString>("shown");

    QTest::newRow("fraction") << u"1.5"_s << u"01:30"_s;
    QTest::newRow("negative") << u"-3"_s << u"00:00"_s;
    QTest::newRow("nothing") << u""_s << u"01:17"_s;
    QTest::newRow("no number") << u"abc"_s << u"01:17"_s;
    QTest::newRow("leading space") << u" 5"_s << u"01:17"_s;
    QTest::newRow("not finite") << u"inf"_s << u"01:17"_s;
    QTest::newRow("beyond 64 bits") << u"1e18"_s << u"01:17"_s;
}

void ControlPanelViewTest::goes()
{
    QFETCH(QString, minutes);
    QFETCH(QString, shown);

    Panel panel;
    panel.engine.setSeconds = 77;
    panel.engine.currentRunFromCue = true;
    panel.minutes.setText(minutes);
    panel.click(u"GO"_s);
    QCOMPARE(panel.engine.snapshot.value().timeText, shown);
    QCOMPARE(panel.engine.phase.value(), Phase::running);
    QCOMPARE(panel.engine.pureCountUp, shown == u"00:00");
    QVERIFY(!panel.engine.currentRunFromCue);
}

void ControlPanelViewTest::hearsReturn_data()
{
    QTest::addColumn<QString>("focus");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<int>("starts");

    QTest::newRow("minutes") << u"minutes"_s << u"Timer"_s << 0 << 1;
    QTest::newRow("nothing") << u"nothing"_s << u"Timer"_s << 0 << 1;
    QTest::newRow("a button") << u"a button"_s << u"Timer"_s << 0 << 1;
    QTest::newRow("message") << u"message"_s << u"Timer"_s << 0 << 0;
    QTest::newRow("with Control") << u"nothing"_s << u"Timer"_s << int(Qt::ControlModifier) << 0;
    QTest::newRow("among cues") << u"nothing"_s << u"Cues"_s << 0 << 0;
}

void ControlPanelViewTest::hearsReturn()
{
    QFETCH(QString, focus);
    QFETCH(QString, mode);
    QFETCH(int, modifiers);
    QFETCH(int, starts);

    Panel panel;
    panel.click(u"Show settings"_s);
    panel.click(mode);
    const QMap<QString, QWidget*> targets {
        {u"minutes"_s, &panel.minutes},
        {u"message"_s, &panel.message()},
        {u"a button"_s, &panel.button(u"Show"_s)},
    };
    if (focus == u"nothing")
        panel.view.focusWidget()->clearFocus();
    else
        targets[focus]->setFocus();
    // Each start is stopped, so that the next one shows.
    int counted = 0;
    const auto notifier = panel.engine.phase.addNotifier([&] {
        if (panel.engine.phase == Phase::running) {
            ++counted;
            panel.engine.stop();
        }
    });
    QTest::keyClick(panel.view.windowHandle(), Qt::Key_Return, Qt::KeyboardModifiers(modifiers));
    QCOMPARE(counted, starts);
}

void ControlPanelViewTest::setsAndShiftsMinutes()
{
    Panel panel;
    panel.click(u"20"_s);
    QCOMPARE(panel.minutes.text(), u"20"_s);
    QCOMPARE(panel.engine.phase.value(), Phase::idle);
    for (const QString& name : {u"−1"_s, u"+1"_s})
        panel.click(name);
    QCOMPARE(panel.engine.snapshot.value().timeText, u"00:00"_s);

    panel.engine.setSeconds = 60;
    panel.engine.start(TimerEngine::RunOrigin::operatorRequest);
    panel.click(u"−1"_s);
    QCOMPARE(panel.engine.remaining(), 60);
    panel.click(u"+1"_s);
    panel.click(u"−1"_s);
    QCOMPARE(panel.engine.remaining(), 60);
}

void ControlPanelViewTest::followsTheModes()
{
    Panel panel;
    panel.engine.setSeconds = 60;
    panel.engine.start(TimerEngine::RunOrigin::operatorRequest);
    panel.click(u"Cues"_s);
    QCOMPARE(panel.engine.phase.value(), Phase::running);
    panel.click(u"Clock"_s);
    QCOMPARE(panel.engine.phase.value(), Phase::clock);
    QVERIFY(panel.labels().contains(u"Showing time of day"_s));

    // What others do to the engine leaves the mode as it is, and leaving it leaves their run.
    panel.engine.start(TimerEngine::RunOrigin::operatorRequest);
    QVERIFY(panel.labels().contains(u"Showing time of day"_s));
    panel.click(u"Timer"_s);
    QCOMPARE(panel.engine.phase.value(), Phase::running);
    panel.engine.setClock(true);
    QVERIFY(!panel.labels().contains(u"Showing time of day"_s));

    // The same with the keys.
    panel.button(u"Timer"_s).setFocus();
    for (const int key : {Qt::Key_Right, Qt::Key_Right})
        QTest::keyClick(panel.view.windowHandle(), Qt::Key(key));
    QVERIFY(panel.labels().contains(u"Showing time of day"_s));
    QTest::keyClick(panel.view.windowHandle(), Qt::Key_Left);
    QCOMPARE(panel.engine.phase.value(), Phase::idle);
}

void ControlPanelViewTest::runsTheCues()
{
    Panel panel;
    panel.click(u"Cues"_s);
    for (const QString& name : {u"GO"_s, u"Previous cue"_s, u"Next cue"_s})
        panel.click(name);
    QCOMPARE(panel.engine.phase.value(), Phase::idle);

    panel.cues.add(u"A"_s, 1);
    panel.cues.add(u"B"_s, 2);
    panel.click(u"GO"_s);
    QCOMPARE(panel.cues.currentIndex(), 0);
    QCOMPARE(panel.engine.snapshot.value().timeText, u"01:00"_s);
    QVERIFY(panel.engine.currentRunFromCue);
    panel.click(u"Next cue"_s);
    panel.click(u"Next cue"_s);
    QCOMPARE(panel.cues.currentIndex(), 1);
    QCOMPARE(panel.engine.snapshot.value().timeText, u"01:00"_s);
    panel.click(u"GO"_s);
    QCOMPARE(panel.engine.snapshot.value().timeText, u"02:00"_s);
    panel.click(u"Previous cue"_s);
    panel.click(u"Previous cue"_s);
    QCOMPARE(panel.cues.currentIndex(), 0);

    panel.click(u"Pause"_s);
    QCOMPARE(panel.engine.phase.value(), Phase::paused);
    panel.click(u"Resume"_s);
    QCOMPARE(panel.engine.phase.value(), Phase::running);
    panel.click(u"STOP"_s);
    QCOMPARE(panel.engine.phase.value(), Phase::idle);
}

void ControlPanelViewTest::showsTheCurrentCue_data()
{
    QTest::addColumn<QList<qint64>>("seconds");
    QTest::addColumn<int>("current");
    QTest::addColumn<QStringList>("shown");

    QTest::newRow("none") << QList<qint64> {} << -1 << QStringList {u"No cues yet"_s, u"--:--"_s};
    QTest::newRow("the first") << QList<qint64> {60, 120} << -1
                               << QStringList {u"Cue 1"_s, u"01:00"_s};
    QTest::newRow("the current") << QList<qint64> {60, 120} << 1
                                 << QStringList {u"Cue 2"_s, u"02:00"_s};
    QTest::newRow("negative") << QList<qint64> {-75} << -1 << QStringList {u"Cue 1"_s, u"01:15"_s};
}

void ControlPanelViewTest::showsTheCurrentCue()
{
    QFETCH(QList<qint64>, seconds);
    QFETCH(int, current);
    QFETCH(QStringList, shown);

    Panel panel;
    panel.click(u"Cues"_s);
    QList<Cue> cues;
    for (const qint64 duration : seconds) {
        cues.append({.id = QUuid::createUuid(),
            .title = u"Cue %1"_s.arg(cues.size() + 1),
            .seconds = duration});
    }
    panel.cues.cues = cues;
    panel.cues.select(current);
    QCOMPARE(panel.labels(), shown);
}

void ControlPanelViewTest::togglesStates_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<std::function<bool(const Panel&)>>("isOn");
    QTest::addColumn<std::function<void(Panel&)>>("turnOff");

    using IsOn = std::function<bool(const Panel&)>;
    using TurnOff = std::function<void(Panel&)>;
    const auto setting = [](const char* row, const QString& name, auto property) {
        QTest::newRow(row) << name << IsOn([=](const Panel& panel) {
            return (panel.settings.*property).value();
        }) << TurnOff([=](Panel& panel) { panel.settings.*property = false; });
    };
    QTest::newRow("blackout") << u"Blackout"_s << IsOn([](const Panel& panel) {
        return panel.engine.snapshot.value().isBlackout;
    }) << TurnOff([](Panel& panel) { panel.engine.toggleBlackout(); });
    QTest::newRow("loop") << u"Loop"_s
                          << IsOn([](const Panel& panel) { return panel.engine.loop.value(); })
                          << TurnOff([](Panel& panel) { panel.engine.stop(); });
    setting("overtime", u"Overtime"_s, &AppSettings::allowCountUp);
    setting("warning colors", u"Warning colours"_s, &AppSettings::useThresholdColors);
    setting("NDI", u"NDI output"_s, &AppSettings::ndiEnabled);
    setting("web remote", u"Web remote"_s, &AppSettings::webRemoteEnabled);
    setting("buzzer", u"Finish buzzer"_s, &AppSettings::playFinishSound);
}

void ControlPanelViewTest::togglesStates()
{
    QFETCH(QString, name);
    QFETCH(std::function<bool(const Panel&)>, isOn);
    QFETCH(std::function<void(Panel&)>, turnOff);

    Panel panel;
    panel.settings.useThresholdColors = false;
    panel.click(u"Show settings"_s);
    panel.click(name);
    QVERIFY(isOn(panel));
    QVERIFY(panel.button(name).isChecked());
    turnOff(panel);
    QVERIFY(!panel.button(name).isChecked());
    panel.click(name);
    panel.click(name);
    QVERIFY(!isOn(panel));
}

void ControlPanelViewTest::sendsMessages()
{
    Panel panel;
    panel.click(u"Show settings"_s);
    QLineEdit& field = panel.message();
    field.setFocus();
    QTest::keyClicks(&field, u"Doors"_s);
    QTest::keyClick(&field, Qt::Key_Left);
    panel.engine.setMessage(u"Another"_s);
    QCOMPARE(field.text(), u"Doors"_s);
    QCOMPARE(field.cursorPosition(), 4);

    panel.click(u"Hide"_s);
    QCOMPARE(panel.engine.snapshot.value().message, std::nullopt);
    panel.click(u"Show"_s);
    QCOMPARE(panel.engine.snapshot.value().message, u"Doors"_s);
    QTest::keyClicks(&field, u"!"_s);
    QTest::keyClick(&field, Qt::Key_Return);
    QCOMPARE(panel.engine.snapshot.value().message, u"Door!s"_s);
    panel.click(u"Clear"_s);
    QCOMPARE(panel.engine.snapshot.value().message, std::nullopt);
    QCOMPARE(field.text(), QString());
}

void ControlPanelViewTest::stepsThresholds_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<qint64>("before");
    QTest::addColumn<QString>("shown");
    QTest::addColumn<int>("key");
    QTest::addColumn<qint64>("after");

    QTest::newRow("amber up") << u"Amber at"_s << 359LL << u"5 min"_s << int(Qt::Key_Up) << 419LL;
    QTest::newRow("amber's top") << u"Amber at"_s << 3580LL << u"59 min"_s << int(Qt::Key_Up)
                                 << 3600LL;
    QTest::newRow("amber's end") << u"Amber at"_s << 60LL << u"1 min"_s << int(Qt::Key_Down)
                                 << 60LL;
    QTest::newRow("red down") << u"Red at"_s << 60LL << u"60 s"_s << int(Qt::Key_Down) << 55LL;
    QTest::newRow("red from below") << u"Red at"_s << -20LL << u"-20 s"_s << int(Qt::Key_Up) << 5LL;
    QTest::newRow("red's top") << u"Red at"_s << 600LL << u"600 s"_s << int(Qt::Key_Up) << 600LL;
}

void ControlPanelViewTest::stepsThresholds()
{
    QFETCH(QString, name);
    QFETCH(qint64, before);
    QFETCH(QString, shown);
    QFETCH(int, key);
    QFETCH(qint64, after);

    Panel panel;
    panel.click(u"Show settings"_s);
    QProperty<qint64>& property = name == u"Red at" ? panel.settings.redThresholdSeconds
                                                    : panel.settings.amberThresholdSeconds;
    property = before;
    const auto steppers = panel.view.findChildren<Stepper*>();
    const auto stepper = std::ranges::find(steppers, name, &Stepper::accessibleName);
    QCOMPARE((*stepper)->text(), shown);
    QTest::keyClick(*stepper, Qt::Key(key));
    QCOMPARE(property.value(), after);
}

void ControlPanelViewTest::listsDisplays()
{
    Panel panel;
    panel.click(u"Show settings"_s);
    QVERIFY(panel.labels().contains(u"No displays found"_s));

    ScreenInfo main = screen(7, 1440, 900);
    main.isMain = true;
    panel.console.displays->list = {{.info = main}, {.info = screen(9, 1920, 1080)}};
    panel.console.displays->onChange();
    QCoreApplication::processEvents();
    QVERIFY(!panel.labels().contains(u"No displays found"_s));
    panel.click(u"Display 9 — 1920×1080"_s);
    panel.click(u"Display 7 — 1440×900  (main)"_s);
    QCOMPARE(panel.settings.enabledScreenIDs.value(), (std::set<quint32> {7, 9}));

    panel.console.displays->list.removeFirst();
    panel.console.displays->onChange();
    QAbstractButton& toggle = panel.button(u"Display 9 — 1920×1080"_s);
    QVERIFY(toggle.isChecked());
    panel.click(toggle.text());
    QCOMPARE(panel.settings.enabledScreenIDs.value(), std::set<quint32> {7});
    panel.settings.enabledScreenIDs = {9};
    QVERIFY(toggle.isChecked());
}

void ControlPanelViewTest::showsWebAddresses()
{
    Panel panel;
    panel.click(u"Show settings"_s);
    const auto addresses = [&] { return panel.labels().filter(u"8081"_s); };
    panel.settings.webPort = 8081;
    QCOMPARE(addresses(), QStringList());
    panel.settings.webRemoteEnabled = true;
    const QStringList shown = addresses();
    QCOMPARE(shown.size(), 2);
    const QString base = shown.front().sliced(u"Control: "_s.size());
    QVERIFY2(
        base == u"port 8081 (offline)" || (base.startsWith(u"http://") && base.endsWith(u":8081")),
        qUtf8Printable(base));
    QCOMPARE(shown.back(), u"Display: %1/display"_s.arg(base));
}

void ControlPanelViewTest::shapesThePreview_data()
{
    QTest::addColumn<QList<ScreenInfo>>("screens");
    QTest::addColumn<std::set<quint32>>("enabled");
    QTest::addColumn<qint64>("ndiHeight");
    QTest::addColumn<int>("height");

    const ScreenInfo wide = screen(1, 2000, 1000);
    const ScreenInfo square = screen(2, 1000, 1000);
    const ScreenInfo flat = screen(3, 1000, 0);
    const ScreenInfo tall = screen(4, 100, 1000);
    using IDs = std::set<quint32>;
    // NDI is on where its height is given, and 948 wide.
    QTest::newRow("nothing") << QList<ScreenInfo> {} << IDs {} << -1LL << 178;
    QTest::newRow("the first") << QList {wide, square} << IDs {} << -1LL << 158;
    QTest::newRow("the enabled") << QList {wide, square} << IDs {2} << 948LL << 316;
    QTest::newRow("two enabled") << QList {wide, square} << IDs {2, 1} << -1LL << 158;
    QTest::newRow("NDI") << QList {wide} << IDs {5} << 948LL << 316;
    QTest::newRow("NDI without height") << QList {wide} << IDs {} << 0LL << 158;
    QTest::newRow("flat before another") << QList {flat, wide} << IDs {1, 3} << 948LL << 316;
    QTest::newRow("flat alone") << QList {flat, wide} << IDs {1, 3} << -1LL << 178;
    QTest::newRow("tall") << QList {tall} << IDs {4} << -1LL << 1580;
}

void ControlPanelViewTest::shapesThePreview()
{
    QFETCH(QList<ScreenInfo>, screens);
    QFETCH(std::set<quint32>, enabled);
    QFETCH(qint64, ndiHeight);
    QFETCH(int, height);

    Panel panel;
    for (const ScreenInfo& info : screens)
        panel.console.displays->list.append({.info = info});
    panel.console.displays->onChange();
    panel.settings.enabledScreenIDs = enabled;
    panel.settings.ndiWidth = 948;
    panel.settings.ndiHeight = ndiHeight;
    panel.settings.ndiEnabled = ndiHeight >= 0;
    QCoreApplication::processEvents();
    const auto widgets = panel.view.findChildren<QWidget*>();
    const auto preview =
        std::ranges::find(widgets, u"Preview of the output"_s, &QWidget::accessibleName);
    QCOMPARE((*preview)->size(), QSize(316, height));
}

void ControlPanelViewTest::reportsHeights()
{
    Panel panel;
    QList<ConsoleHeights> reports;
    panel.view.onSizes = [&](const ConsoleHeights& heights) { reports.append(heights); };
    const ConsoleHeights atFirst = panel.view.heights();
    QCOMPARE(atFirst.expanded, 0);

    panel.click(u"Show settings"_s);
    QCoreApplication::processEvents();
    QCOMPARE(reports.size(), 1);
    const ConsoleHeights expanded = reports.takeFirst();
    QCOMPARE(expanded.compact, atFirst.compact);
    QVERIFY(expanded.expanded > 500);

    panel.settings.useThresholdColors = false;
    QTRY_COMPARE(reports.size(), 1);
    QVERIFY(reports.takeFirst().expanded < expanded.expanded - 80);
    panel.engine.toggleBlackout();
    QCoreApplication::processEvents();
    QCOMPARE(reports.size(), 0);
    panel.click(u"Clock"_s);
    QTRY_COMPARE(reports.size(), 1);
    QVERIFY(reports.takeFirst().compact < atFirst.compact - 40);
    panel.click(u"Hide settings"_s);
    QCOMPARE(reports.takeFirst().expanded, 0);
}

/// Every control is reached, in reading order, and says what it is.
void ControlPanelViewTest::isWalkedWithTab()
{
    Panel panel;
    panel.console.displays->list = {{.info = screen(1, 1440, 900)}};
    panel.console.displays->onChange();
    panel.console.deck.enabled = true;
    panel.cues.add(u"A"_s, 1);
    panel.click(u"Show settings"_s);
    QCoreApplication::processEvents();
    QString expected = u"Minutes|GO|Pause|STOP|Set 5 minutes|Set 10 minutes|Set 20 minutes|"
                       "Set 30 minutes|Set 60 minutes|Subtract a minute|Add a minute|"
                       "Message to display|Show|Clear|Blackout|Attention|Loop|Overtime|"
                       "Text*|Background*|Warning colours|Amber*|Red*|Amber at|Red at|"
                       "Display 1 — 1440×900|NDI output|Web remote|Running order|Cue title|Minutes|"
                       "Add|Prev|Next|Follow|Save…|Import…|Clear All|Stream Deck control|Rescan|"
                       "Brightness|Keep console on top|Finish buzzer|Timer|Hide settings|Minutes"_s;
    expected.replace(QRegularExpression(u"(\\w+)\\*"_s),
        u"\\1|\\1: White|\\1: Black|\\1: Red|\\1: Green|\\1: Blue|\\1: Amber"_s);
    for (const QString& stop : expected.split(u'|')) {
        const QWidget* focused = panel.view.focusWidget();
        const auto* button = qobject_cast<const QAbstractButton*>(focused);
        const QString name = focused->accessibleName();
        QCOMPARE(name.isEmpty() && button ? button->text() : name, stop);
        QTest::keyClick(panel.view.windowHandle(), Qt::Key_Tab);
    }
    for (int stop = 0; stop < 3; ++stop)
        QTest::keyClick(panel.view.windowHandle(), Qt::Key_Backtab);
    QVERIFY(panel.button(u"Timer"_s).hasFocus());
}

QTEST_MAIN(ControlPanelViewTest)
#include "tst_ControlPanelView.moc"
