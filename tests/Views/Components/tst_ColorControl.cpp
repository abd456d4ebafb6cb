#include "Views/Components/ColorControl.h"
#include "Views/Components/ColorSwatch.h"
#include "Views/Components/ColorWell.h"

#include <QColorDialog>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class ColorControlTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void storesReadyColorsExactly_data()
    {
        QTest::addColumn<int>("position");
        QTest::addColumn<RGBColor>("expected");
        auto row = [position = 0](const char* name, double r, double g, double b) mutable {
            QTest::newRow(name) << position++
                                << RGBColor {.r = r / 255, .g = g / 255, .b = b / 255};
        };
        row("White", 255, 255, 255);
        row("Black", 0, 0, 0);
        row("Red", 255, 59, 48);
        row("Green", 52, 199, 89);
        row("Blue", 0, 122, 255);
        row("Amber", 255, 176, 0);
    }
    void storesReadyColorsExactly()
    {
        QFETCH(const int, position);
        QFETCH(const RGBColor, expected);
        QProperty<RGBColor> color {{.r = 0.5, .g = 0.5, .b = 0.5, .a = 0.25}};
        ColorControl control(u"Text"_s, color);
        control.show();
        QList<ColorSwatch*> swatches = control.findChildren<ColorSwatch*>();
        std::ranges::sort(swatches, {}, &QWidget::x);
        QCOMPARE(swatches.size(), 6);
        QCOMPARE(swatches[position]->toolTip(), QString::fromLatin1(QTest::currentDataTag()));
        QTest::mouseClick(swatches[position], Qt::LeftButton);
        QCOMPARE(color.value(), expected);
    }

    void storesWhatTheWellChooses_data()
    {
        QTest::addColumn<QColor>("chosen");
        QTest::addColumn<QColor>("stored");
        QTest::newRow("sRGB") << QColor(10, 20, 30) << QColor(10, 20, 30);
        QTest::newRow("hue") << QColor::fromHsv(120, 255, 255) << QColor(0, 255, 0);
        QTest::newRow("print") << QColor::fromCmyk(0, 255, 255, 0) << QColor(255, 0, 0);
        QTest::newRow("none") << QColor() << QColor(255, 255, 255);
    }
    void storesWhatTheWellChooses()
    {
        QFETCH(const QColor, chosen);
        QFETCH(const QColor, stored);
        QProperty<RGBColor> color {{.r = 0.5, .a = 0.25}};
        ColorControl control(u"Text"_s, color);
        Q_EMIT control.findChild<ColorWell*>()->chosen(chosen);
        QCOMPARE(toColor(color), stored);
        QCOMPARE(color.value().a, 1);
    }

    /// What the panel chooses is stored at once, what is set elsewhere moves the panel, and neither
    /// comes back.
    void panelAndSettingFollowEachOther()
    {
        const RGBColor start {.r = 0.123456789, .g = 1.0 / 3, .b = 0.9, .a = 0.5};
        QProperty<RGBColor> color {start};
        ColorControl control(u"Background"_s, color);
        control.show();
        QTest::mouseClick(control.findChild<ColorWell*>(), Qt::LeftButton);
        auto* panel = control.findChild<QColorDialog*>();
        QVERIFY(panel && panel->isVisible());
        QVERIFY(!panel->isModal());
        QVERIFY(!panel->testOption(QColorDialog::ShowAlphaChannel));
        QCOMPARE(color.value(), start);

        panel->setCurrentColor(QColor(1, 2, 3));
        QCOMPARE(toColor(color), QColor(1, 2, 3));
        const RGBColor elsewhere {.r = 2.0 / 3, .g = 0.123456789, .b = 0.1, .a = 0.5};
        color = elsewhere;
        QCOMPARE(panel->currentColor().rgb(), toColor(elsewhere).rgb());
        QCOMPARE(color.value(), elsewhere);
    }
};

QTEST_MAIN(ColorControlTest)
#include "tst_ColorControl.moc"
