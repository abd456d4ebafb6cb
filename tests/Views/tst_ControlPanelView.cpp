#include "Views/ControlPanelView.h"

#include "Views/Components/MinutesField.h"

#include "helpers/Console.h"
#include "helpers/Hand.h"

#include <QLabel>
#include <QRegularExpression>
#include <QTest>

using namespace Qt::StringLiterals;

using Phase = TimerEngine::Phase;

namespace {

/// The panel in a window that has the focus, with 77 seconds set, after a run from a cue.
struct Panel : Console {
    ControlPanelView view {models()};
    QLineEdit& minutes {*view.findChild<MinutesField*>()};

    Panel()
    {
        engine.setSeconds = 77;
        engine.currentRunFromCue = true;
        view.resize(ControlPanelView::width, 800);
        activate(view);
    }

    /// Of the settings, once they have been shown.
    [[nodiscard]] QLineEdit& message() const
    {
        return fieldWithPlaceholder(view, u"Message to display"_s);
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

    void showDisplays(const QList<ScreenInfo>& screens)
    {
        displays->list.clear();
        for (const ScreenInfo& info : screens)
            displays->list.append({.info = info});
        displays->onChange();
        QCoreApplication::processEvents();
    }

    /// What the operator and others do: "request argument; …".
    void play(const QString& script)
    {
        for (const QString& step : script.split(u"; "_s))
            carryOut(step.section(u' ', 0, 0), step.section(u' ', 1));
    }

    void carryOut(const QString& request, const QString& argument)
    {
        const auto focus = [&] {
            if (argument == u"nothing")
                view.focusWidget()->clearFocus();
            else
                (argument == u"message" ? static_cast<QWidget&>(message()) : button(argument))
                    .setFocus();
        };
        const auto press = [&] {
            const QKeySequence keys(argument);
            for (int i = 0; i < keys.count(); ++i)
                QTest::keyClick(
                    view.windowHandle(), keys[uint(i)].key(), keys[uint(i)].keyboardModifiers());
        };
        const auto setCues = [&] {
            QList<Cue> list;
            for (const QString& seconds : argument.split(u' ')) {
                list.append({.id = QUuid::createUuid(),
                    .title = u"Cue %1"_s.arg(list.size() + 1),
                    .seconds = seconds.toInt()});
            }
            cues.cues = list;
        };
        const QMap<QString, std::function<void()>> requests {
            {u"click"_s, [&] { click(argument); }},
            {u"type"_s, [&] { minutes.setText(argument); }},
            {u"focus"_s, focus},
            {u"press"_s, press},
            {u"hold"_s, [&] { repeatKey(*view.focusWidget(), Qt::Key_Return); }},
            {u"cues"_s, setCues},
            {u"select"_s, [&] { cues.select(argument.toInt()); }},
            {u"start"_s, [&] { engine.start(TimerEngine::RunOrigin::operatorRequest); }},
            {u"clock"_s, [&] { engine.setClock(true); }},
        };
        requests[request]();
    }

    /// How the show stands, and what the controls of the mode read.
    [[nodiscard]] QString state() const
    {
        static const QStringList phases {u"idle"_s, u"running"_s, u"paused"_s, u"clock"_s};
        QStringList words {phases[static_cast<int>(engine.phase.value())]};
        if (engine.phase != Phase::clock)
            words.append(engine.snapshot.value().timeText);
        if (engine.phase == Phase::running && engine.pureCountUp)
            words.append(u"counting up"_s);
        if (engine.phase == Phase::running && engine.currentRunFromCue)
            words.append(u"from a cue"_s);
        if (cues.currentIndex())
            words.append(u"at %1"_s.arg(*cues.currentIndex()));
        const bool isExpanded = view.heights().expanded > 0;
        return words.join(u' ') + (isExpanded ? u""_s : u" ["_s + labels().join(u' ') + u']');
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
    void runsTheShow_data()
    {
        QTest::addColumn<QString>("state");
        QTest::newRow("type 1.5; click GO") << "running 01:30 []";
        QTest::newRow("type -3; click GO") << "running 00:00 counting up []";
        for (const char* script :
            {"type abc; click GO", "type inf; click GO", "type 1e18; click GO"})
            QTest::newRow(script) << "running 01:17 []";
        QTest::newRow("click 5; click 20; click GO") << "running 20:00 []";
        QTest::newRow("type 1; click GO; click +1; click −1") << "running 01:00 []";
        QTest::newRow("type 1.0167; click GO; click −1") << "running 00:01 []";

        QTest::newRow("press Return") << "running 01:17 []";
        QTest::newRow("press Enter") << "running 01:17 []";
        QTest::newRow("hold Return") << "idle 00:00 []";
        QTest::newRow("focus nothing; press Return") << "running 01:17 []";
        QTest::newRow("click Show settings; focus message; press Return") << "idle 00:00";
        QTest::newRow("click Cues; press Return") << "idle 00:00 [No cues yet --:--]";
        // The mouse has not given the keys to something else.
        QTest::newRow("click Show settings; click Next; press 7, Return") << "running 07:00";
        QTest::newRow("click Show settings; focus message; click Hide settings; press 7, Return")
            << "running 07:00 []";

        QTest::newRow("click GO; click Cues; click Timer") << "running 01:17 []";
        QTest::newRow("click Clock; click Cues") << "idle 00:00 [No cues yet --:--]";
        QTest::newRow("focus Timer; press Right, Right, Left") << "idle 00:00 [No cues yet --:--]";
        // What others do to the engine leaves the mode as it is, and leaving it leaves their run.
        QTest::newRow("clock") << "clock []";
        QTest::newRow("click Clock; start; click Timer") << "running 01:17 []";

        QTest::newRow("click Cues; click GO; click Previous cue; click Next cue")
            << "idle 00:00 [No cues yet --:--]";
        QTest::newRow("click Cues; cues 60 120; select 1") << "idle 00:00 at 1 [Cue 2 02:00]";
        QTest::newRow("cues 60 120; click Cues; click GO; click Next cue; click Next cue")
            << "running 01:00 from a cue at 1 [Cue 2 02:00]";
        QTest::newRow("cues 60 120; select 1; click Cues; click GO")
            << "running 02:00 from a cue at 1 [Cue 2 02:00]";
        QTest::newRow("cues 60 120; select 1; click Cues; click Previous cue; click Previous cue")
            << "idle 00:00 at 0 [Cue 1 01:00]";
    }
    void runsTheShow()
    {
        QFETCH(const QString, state);
        Panel panel;
        panel.play(QString::fromUtf8(QTest::currentDataTag()));
        QCOMPARE(panel.state(), state);
    }

    void togglesStates()
    {
        Panel panel;
        AppSettings& settings = panel.settings;
        panel.click(u"Show settings"_s);
        const std::pair<QString, QProperty<bool>*> toggles[] {
            {u"Loop"_s, &panel.engine.loop},
            {u"Overtime"_s, &settings.allowCountUp},
            {u"Warning colours"_s, &settings.useThresholdColors},
            {u"NDI output"_s, &settings.ndiEnabled},
            {u"Web remote"_s, &settings.webRemoteEnabled},
            {u"Follow"_s, &settings.cueFollow},
            {u"Finish buzzer"_s, &settings.playFinishSound},
        };
        for (const auto& [name, property] : toggles) {
            *property = true;
            QVERIFY2(panel.button(name).isChecked(), qUtf8Printable(name));
            panel.click(name);
            QVERIFY2(!*property, qUtf8Printable(name));
            panel.click(name);
            QVERIFY2(*property, qUtf8Printable(name));
        }
        panel.click(u"Blackout"_s);
        QVERIFY(panel.engine.snapshot.value().isBlackout);
        panel.engine.toggleBlackout();
        QVERIFY(!panel.button(u"Blackout"_s).isChecked());
        panel.click(u"Attention"_s);
        QCOMPARE(panel.engine.strobeCount.value(), 1);
    }

    void sendsMessages()
    {
        Panel panel;
        panel.click(u"Show settings"_s);
        QLineEdit& field = panel.message();
        const auto shown = [&] { return panel.engine.snapshot.value().message; };
        field.setFocus();
        QTest::keyClicks(&field, u"Doors"_s);
        QTest::keyClick(&field, Qt::Key_Left);
        panel.engine.setMessage(u"Another"_s);
        QCOMPARE(field.text(), u"Doors"_s);
        QCOMPARE(field.cursorPosition(), 4);

        panel.click(u"Hide"_s);
        QCOMPARE(shown(), std::nullopt);
        panel.click(u"Show"_s);
        QCOMPARE(shown(), u"Doors"_s);
        QTest::keyClicks(&field, u"!"_s);
        QTest::keyClick(&field, Qt::Key_Return);
        QCOMPARE(shown(), u"Door!s"_s);
        panel.click(u"Clear"_s);
        QCOMPARE(shown(), std::nullopt);
        QCOMPARE(field.text(), QString());
    }

    void listsDisplays()
    {
        Panel panel;
        const auto chosen = [&] { return panel.settings.enabledScreenIDs.value(); };
        using IDs = std::set<quint32>;
        panel.click(u"Show settings"_s);
        ScreenInfo main = screen(7, 1440, 900);
        main.isMain = true;
        panel.showDisplays({main, screen(9, 1920, 1080)});
        panel.click(u"Display 9 — 1920×1080"_s);
        panel.click(u"Display 7 — 1440×900  (main)"_s);
        QCOMPARE(chosen(), (IDs {7, 9}));

        panel.showDisplays({screen(9, 1920, 1080)});
        QAbstractButton& toggle = panel.button(u"Display 9 — 1920×1080"_s);
        panel.click(toggle.text());
        QCOMPARE(chosen(), IDs {7});
        panel.settings.enabledScreenIDs = {9};
        QVERIFY(toggle.isChecked());

        // A display that takes the place of the pressed one is not what was meant. Nor is a name
        // a form to fill in, or the place of a shortcut.
        QTest::mousePress(&toggle, Qt::LeftButton, {}, {8, 8});
        ScreenInfo other = screen(8, 800, 600);
        other.name = u"%2 & 50%"_s;
        panel.showDisplays({other});
        QTest::mouseRelease(&toggle, Qt::LeftButton, {}, {8, 8});
        QCOMPARE(chosen(), IDs {9});
        QCOMPARE(toggle.text(), u"%2 && 50% — 800×600"_s);
    }

    void shapesThePreview()
    {
        Panel panel;
        AppSettings& settings = panel.settings;
        const auto widgets = panel.view.findChildren<QWidget*>();
        const QWidget& preview =
            **std::ranges::find(widgets, u"Preview of the output"_s, &QWidget::accessibleName);
        settings.ndiWidth = 948;
        // NDI is on where its height is given.
        const auto shape = [&](const QList<ScreenInfo>& screens, const std::set<quint32>& enabled,
                               std::optional<qint64> ndiHeight = std::nullopt) {
            settings.enabledScreenIDs = enabled;
            settings.ndiHeight = ndiHeight.value_or(1);
            settings.ndiEnabled = ndiHeight.has_value();
            panel.showDisplays(screens);
            return preview.size();
        };
        const ScreenInfo wide = screen(1, 2000, 1000);
        const ScreenInfo square = screen(2, 1000, 1000);
        const ScreenInfo flat = screen(3, 1000, 0);
        QCOMPARE(shape({}, {}), QSize(316, 178));
        QCOMPARE(shape({wide, square}, {}), QSize(316, 158));
        QCOMPARE(shape({wide, square}, {2}, 948), QSize(316, 316));
        QCOMPARE(shape({wide, square}, {2, 1}), QSize(316, 158));
        QCOMPARE(shape({wide}, {5}, 948), QSize(316, 316));
        QCOMPARE(shape({wide}, {}, 0), QSize(316, 158));
        QCOMPARE(shape({flat, wide}, {1, 3}), QSize(316, 178));
        QCOMPARE(shape({screen(4, 100, 1000)}, {4}), QSize(316, 1580));
    }

    void reportsHeights()
    {
        Panel panel;
        ConsoleHeights reported = panel.view.heights();
        const int atFirst = reported.compact;
        panel.view.onSizes = [&](const ConsoleHeights& heights) { reported = heights; };
        panel.click(u"Show settings"_s);
        QTRY_VERIFY(reported.expanded > 500);
        QCOMPARE(reported.compact, atFirst);
        const int full = reported.expanded;
        panel.settings.useThresholdColors = false;
        QTRY_VERIFY(reported.expanded < full - 80);
        panel.click(u"Clock"_s);
        QTRY_VERIFY(reported.compact < atFirst - 40);
        panel.click(u"Hide settings"_s);
        QTRY_COMPARE(reported.expanded, 0);
    }

    /// Every control is reached, in reading order, says what it is, and is in sight then.
    void isWalkedWithTab()
    {
        Panel panel;
        panel.showDisplays({screen(1, 1440, 900)});
        panel.deck.enabled = true;
        panel.cues.add(u"A"_s, 1);
        panel.click(u"Show settings"_s);
        QCoreApplication::processEvents();
        QString expected = u"Minutes|GO|Pause|STOP|Set 5 minutes|Set 10 minutes|Set 20 minutes|"
                           "Set 30 minutes|Set 60 minutes|Subtract a minute|Add a minute|"
                           "Message to display|Show|Clear|Blackout|Attention|Loop|Overtime|"
                           "Text*|Background*|Warning colours|Amber*|Red*|Amber at|Red at|"
                           "Display 1 — 1440×900|NDI output|Web remote|Running order|Cue title|"
                           "Minutes|Add|Prev|Next|Follow|Save…|Import…|Clear All|"
                           "Stream Deck control|Rescan|Brightness|Keep console on top|"
                           "Finish buzzer|Timer|Hide settings|Minutes"_s;
        expected.replace(QRegularExpression(u"(\\w+)\\*"_s),
            u"\\1|\\1: White|\\1: Black|\\1: Red|\\1: Green|\\1: Blue|\\1: Amber"_s);
        for (const QString& stop : expected.split(u'|')) {
            const QWidget* focused = panel.view.focusWidget();
            const auto* button = qobject_cast<const QAbstractButton*>(focused);
            const QString name = focused->accessibleName();
            QCOMPARE(name.isEmpty() && button ? button->text() : name, stop);
            QVERIFY2(!focused->visibleRegion().isEmpty(), qUtf8Printable(stop));
            panel.play(u"press Tab"_s);
        }
        panel.play(u"press Shift+Tab, Shift+Tab, Shift+Tab"_s);
        QVERIFY(panel.button(u"Timer"_s).hasFocus());
    }
};

QTEST_MAIN(ControlPanelViewTest)
#include "tst_ControlPanelView.moc"
