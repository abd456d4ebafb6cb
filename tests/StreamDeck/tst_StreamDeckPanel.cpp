#include "StreamDeck/StreamDeckPanel.h"

#include "helpers/Console.h"

#include <QLabel>
#include <QSlider>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString hint =
    u"Native control — quit the Elgato Stream Deck app so Tarrow can drive the device "
    "directly."_s;

}

class StreamDeckPanelTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showsTheDeck_data();
    void showsTheDeck();
    void asksForChanges();
    void setsTheBrightness();

private:
    [[nodiscard]] static QStringList labels(const QWidget& panel)
    {
        QStringList texts;
        for (const QLabel* label : panel.findChildren<QLabel*>()) {
            if (label->isVisibleTo(&panel))
                texts.append(label->text());
        }
        return texts;
    }
};

void StreamDeckPanelTest::showsTheDeck_data()
{
    QTest::addColumn<bool>("isEnabled");
    QTest::addColumn<std::optional<QString>>("model");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QStringList>("shown");

    using Model = std::optional<QString>;
    const QString title = u"Stream Deck"_s;
    const QString brightness = u"Brightness"_s;
    QTest::newRow("off") << false << Model(u"Mini"_s) << u"Denied"_s << QStringList {title};
    QTest::newRow("no deck") << true << Model() << u""_s
                             << QStringList {title, u"No Stream Deck found"_s, brightness, hint};
    QTest::newRow("a deck") << true << Model(u"Mini"_s) << u""_s
                            << QStringList {title, u"Mini"_s, brightness, hint};
    QTest::newRow("a status") << true << Model() << u"Denied"_s
                              << QStringList {title, u"No Stream Deck found"_s, brightness,
                                     u"Denied"_s, hint};
}

/// Whatever comes first: what is there when the panel is made, or what changes under it.
void StreamDeckPanelTest::showsTheDeck()
{
    QFETCH(bool, isEnabled);
    QFETCH(std::optional<QString>, model);
    QFETCH(QString, status);
    QFETCH(QStringList, shown);

    FakeDeck deck;
    const StreamDeckPanel early(deck);
    deck.enabled = isEnabled;
    deck.connectedModelName = model;
    deck.statusMessage = status;
    const StreamDeckPanel late(deck);
    QCOMPARE(labels(early), shown);
    QCOMPARE(labels(late), shown);
}

void StreamDeckPanelTest::asksForChanges()
{
    FakeDeck deck;
    const StreamDeckPanel panel(deck);
    buttonCalled(panel, u"Stream Deck control"_s).click();
    QVERIFY(deck.enabled);
    buttonCalled(panel, u"Rescan"_s).click();
    QCOMPARE(deck.rescans, 1);
    deck.enabled = false;
    QVERIFY(!buttonCalled(panel, u"Stream Deck control"_s).isChecked());
}

void StreamDeckPanelTest::setsTheBrightness()
{
    FakeDeck deck;
    deck.enabled = true;
    // A value from outside the slider's range is shown at its end, and stays what it is.
    deck.brightness = 3;
    StreamDeckPanel panel(deck);
    auto& slider = *panel.findChild<QSlider*>();
    QCOMPARE(slider.value(), 5);
    QCOMPARE(deck.brightness.value(), 3);

    QTest::keyClick(&slider, Qt::Key_Right);
    QCOMPARE(deck.brightness.value(), 6);
    QTest::keyClick(&slider, Qt::Key_End);
    QTest::keyClick(&slider, Qt::Key_Right);
    QCOMPARE(deck.brightness.value(), 100);
    QTest::keyClick(&slider, Qt::Key_Home);
    QCOMPARE(deck.brightness.value(), 5);
    deck.brightness = 42;
    QCOMPARE(slider.value(), 42);
}

QTEST_MAIN(StreamDeckPanelTest)
#include "tst_StreamDeckPanel.moc"
