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
    void init();
    void movesInAndOut();
    void fadesFromOneTextToAnother();
    void turnsBackWithoutAJump();
    void restsWhileNothingChanges();
    void arrivesWhenTheClockIsSetBack();

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

    std::unique_ptr<Stage> m_stage;
};

void MessageTransitionTest::init()
{
    m_stage = std::make_unique<Stage>();
}

void MessageTransitionTest::movesInAndOut()
{
    m_stage->engine.setMessage(u"Doors"_s);
    QVERIFY(m_stage->animator.isRunning());
    QCOMPARE(m_stage->animator.current().comingOpacity, 0.0);
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
    const MessageTransition leaving = m_stage->animator.current();
    QCOMPARE(leaving.leaving, u"Doors"_s);
    QCOMPARE(leaving.coming, std::nullopt);
    QVERIFY(qAbs(leaving.leavingOpacity - 0.5) < 1e-9);
    m_stage->pass(150ms);
    QCOMPARE(m_stage->animator.current(), MessageTransition::settled(std::nullopt));
}

void MessageTransitionTest::fadesFromOneTextToAnother()
{
    m_stage->engine.setMessage(u"one"_s);
    m_stage->pass(300ms);
    m_stage->engine.setMessage(u"two"_s);
    m_stage->pass(150ms);
    const MessageTransition between = m_stage->animator.current();
    QCOMPARE(between.leaving, u"one"_s);
    QCOMPARE(between.coming, u"two"_s);
    QCOMPARE(between.presence, 1.0);
    QVERIFY(qAbs(between.leavingOpacity + between.comingOpacity - 1) < 1e-9);
}

void MessageTransitionTest::turnsBackWithoutAJump()
{
    m_stage->engine.setMessage(u"Doors"_s);
    m_stage->pass(150ms);
    const double before = m_stage->animator.current().presence;
    m_stage->engine.setMessage(std::nullopt);
    QCOMPARE(m_stage->animator.current().presence, before);
    QCOMPARE(m_stage->animator.current().leavingOpacity, before);
    m_stage->pass(150ms);
    QCOMPARE_LT(m_stage->animator.current().presence, before);
}

void MessageTransitionTest::restsWhileNothingChanges()
{
    const QSignalSpy moves(&m_stage->animator, &MessageAnimator::moved);
    m_stage->engine.start(TimerEngine::RunOrigin::operatorRequest);
    m_stage->engine.toggleBlackout();
    m_stage->engine.strobe();
    QCOMPARE(moves.size(), 0);
    QVERIFY(!m_stage->animator.isRunning());
}

void MessageTransitionTest::arrivesWhenTheClockIsSetBack()
{
    m_stage->engine.setMessage(u"Doors"_s);
    m_stage->pass(-1h);
    QVERIFY(!m_stage->animator.isRunning());
    QCOMPARE(m_stage->animator.current(), MessageTransition::settled(u"Doors"_s));
}

QTEST_GUILESS_MAIN(MessageTransitionTest)
#include "tst_MessageTransition.moc"
