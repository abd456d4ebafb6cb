#include "Views/MessageTransition.h"

#include "helpers/EngineRig.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct Stage : EngineRig {
    MessageAnimator animator {engine, clock.clock()};

    /// A number lets so many milliseconds pass, with a frame at their end; anything else is the
    /// next message, "-" none.
    void play(const QString& script)
    {
        const QStringList steps = script.split(u' ');
        for (const QString& step : steps) {
            bool isTime = false;
            const std::chrono::milliseconds duration(step.toInt(&isTime));
            if (isTime) {
                clock.advance(duration);
                animator.frame();
            } else {
                engine.setMessage(step == u"-" ? std::nullopt : std::optional(step));
            }
        }
    }

    /// How much of each text is seen, and how much of the room all have, in percent.
    [[nodiscard]] QString state() const
    {
        const MessageTransition transition = animator.current();
        QMap<QString, int> percents;
        for (const MessageLayer& layer : transition.layers)
            percents[layer.text] += qRound(layer.opacity * 100);
        QStringList words {QString::number(qRound(transition.presence * 100))};
        for (const auto& [text, percent] : percents.toStdMap()) {
            if (percent > 0)
                words.append(u"%1 %2"_s.arg(text).arg(percent));
        }
        return words.join(u", "_s) + (animator.isRunning() ? u" moving"_s : QString());
    }
};

} // namespace

class MessageTransitionTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void moves_data()
    {
        QTest::addColumn<QString>("state");
        // Slow at first: a quarter of the time is less than a quarter of the way.
        QTest::newRow("A 75") << "15, A 15 moving";
        QTest::newRow("A 150") << "50, A 50 moving";
        QTest::newRow("A 300 - 150") << "50, A 50 moving";
        QTest::newRow("A 300 B 150") << "100, A 50, B 50 moving";
        // What turns back on its way does not jump.
        QTest::newRow("A 75 -") << "15, A 15 moving";
        QTest::newRow("A 300 B 75 A") << "100, A 85, B 15 moving";
        QTest::newRow("A 300 B 75 A 300") << "100, A 100";
        // The clock is set back.
        QTest::newRow("A -3600000") << "100, A 100";
    }
    void moves()
    {
        QFETCH(const QString, state);
        Stage stage;
        stage.play(QString::fromLatin1(QTest::currentDataTag()));
        QCOMPARE(stage.state(), state);
    }
};

QTEST_GUILESS_MAIN(MessageTransitionTest)
#include "tst_MessageTransition.moc"
