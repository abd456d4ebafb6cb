#include "Views/MessageTransition.h"

#include "helpers/ManualClock.h"
#include "helpers/MemoryPreferences.h"

#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

class MessageTransitionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_stage = std::make_unique<Stage>(); }

    void movesInAndOut()
    {
        m_stage->engine.setMessage(u"Doors"_s);
        QVERIFY(m_stage->animator.isRunning());
        QCOMPARE(opacity(u"Doors"_s), 0.0);
        QCOMPARE(m_stage->animator.current().presence, 0.0);
        m_stage->pass(75ms);
        // Slow at first: a quarter of the time is less than a quarter of the way.
        QCOMPARE_LT(m_stage->animator.current().presence, 0.2);
        m_stage->pass(75ms);
        QVERIFY(qAbs(m_stage->animator.current().presence - 0.5) < 1e-9);
        m_stage->pass(150ms);
        QVERIFY(!m_stage->animator.isRunning());
        QCOMPARE(m_stage->animator.current(), MessageTransition::settled(u"Doors"_s));

        m_stage->engine.setMessage(std::nullopt);
        m_stage->pass(150ms);
        QVERIFY(qAbs(opacity(u"Doors"_s) - 0.5) < 1e-9);
        m_stage->pass(150ms);
        QCOMPARE(m_stage->animator.current(), MessageTransition::settled(std::nullopt));
    }

    void fadesFromOneTextToAnother()
    {
        m_stage->engine.setMessage(u"one"_s);
        m_stage->pass(300ms);
        m_stage->engine.setMessage(u"two"_s);
        m_stage->pass(150ms);
        QCOMPARE(m_stage->animator.current().presence, 1.0);
        QVERIFY(opacity(u"one"_s) > 0.4);
        QVERIFY(qAbs(opacity(u"one"_s) + opacity(u"two"_s) - 1) < 1e-9);
    }

    void turnsBackWithoutAJump_data()
    {
        QTest::addColumn<QStringList>("messages");

        // An empty text is no message.
        QTest::newRow("and away") << QStringList {u""_s, u"A"_s, u""_s};
        QTest::newRow("and back") << QStringList {u"A"_s, u"B"_s, u"A"_s};
        QTest::newRow("away and back") << QStringList {u"A"_s, u""_s, u"A"_s};
        QTest::newRow("away and another") << QStringList {u"A"_s, u""_s, u"C"_s};
        QTest::newRow("and another") << QStringList {u"A"_s, u"B"_s, u"C"_s};
    }
    void turnsBackWithoutAJump()
    {
        QFETCH(QStringList, messages);
        m_stage->engine.setMessage(messages[0]);
        m_stage->pass(300ms);
        m_stage->engine.setMessage(messages[1]);
        m_stage->pass(100ms);

        const auto seen = [this] {
            return QList<double> {opacity(u"A"_s), opacity(u"B"_s), opacity(u"C"_s),
                m_stage->animator.current().presence};
        };
        const QList<double> before = seen();
        m_stage->engine.setMessage(messages[2]);
        QCOMPARE(seen(), before);
        m_stage->pass(150ms);
        QVERIFY(seen() != before);
        m_stage->pass(150ms);
        const std::optional<QString> last =
            messages[2].isEmpty() ? std::nullopt : std::optional(messages[2]);
        QCOMPARE(m_stage->animator.current(), MessageTransition::settled(last));
    }

    void restsWhileNothingChanges()
    {
        const QSignalSpy moves(&m_stage->animator, &MessageAnimator::moved);
        m_stage->engine.start(TimerEngine::RunOrigin::operatorRequest);
        m_stage->engine.toggleBlackout();
        m_stage->engine.strobe();
        QCOMPARE(moves.size(), 0);
        QVERIFY(!m_stage->animator.isRunning());
    }

    void arrivesWhenTheClockIsSetBack()
    {
        m_stage->engine.setMessage(u"Doors"_s);
        m_stage->pass(-1h);
        QVERIFY(!m_stage->animator.isRunning());
        QCOMPARE(m_stage->animator.current(), MessageTransition::settled(u"Doors"_s));
    }

private:
    struct Stage {
        MemoryPreferences preferences;
        AppSettings settings {preferences};
        ManualClock clock;
        TimerEngine engine {settings, clock.clock()};
        MessageAnimator animator {engine, clock.clock()};

        /// Lets time pass, with a frame at its end.
        void pass(std::chrono::microseconds duration)
        {
            clock.advance(duration);
            animator.frame();
        }
    };

    /// How much is seen of a text.
    [[nodiscard]] double opacity(const QString& text) const
    {
        for (const MessageLayer& layer : m_stage->animator.current().layers) {
            if (layer.text == text)
                return layer.opacity;
        }
        return 0;
    }

    std::unique_ptr<Stage> m_stage;
};

QTEST_GUILESS_MAIN(MessageTransitionTest)
#include "tst_MessageTransition.moc"
