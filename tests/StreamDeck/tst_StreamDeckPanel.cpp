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
    /// Whatever comes first: what is there when the panel is made, or what changes under it.
    void showsTheDeck()
    {
        FakeDeck deck;
        const StreamDeckPanel early(deck);
        QCOMPARE(labels(early), QStringList {u"Stream Deck"_s});

        const auto show = [&](const std::optional<QString>& model, const QString& status) {
            deck.enabled = true;
            deck.connectedModelName = model;
            deck.statusMessage = status;
            QStringList shown {u"Stream Deck"_s, model.value_or(u"No Stream Deck found"_s),
                u"Brightness"_s, status, hint};
            shown.removeAll(QString());
            QCOMPARE(labels(early), shown);
            QCOMPARE(labels(StreamDeckPanel(deck)), shown);
        };
        show(std::nullopt, {});
        show(u"Mini"_s, {});
        show(std::nullopt, u"Denied"_s);
    }

    void asksForChanges()
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

    void setsTheBrightness()
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
        QCOMPARE(deck.brightness.value(), 100);
        deck.brightness = 42;
        QCOMPARE(slider.value(), 42);
    }

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

QTEST_MAIN(StreamDeckPanelTest)
#include "tst_StreamDeckPanel.moc"
