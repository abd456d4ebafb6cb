#include "Views/Components/ColorControl.h"
#include "Views/Components/ColorSwatch.h"
#include "Views/Components/ColorWell.h"

#include <QColorDialog>
#include <QTest>

using namespace Qt::StringLiterals;

class ColorControlTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void storesAReadyColorExactly()
    {
        QProperty<RGBColor> color {{.r = 0.5, .g = 0.5, .b = 0.5, .a = 0.25}};
        ColorControl control(u"Text"_s, color);
        control.show();
        const auto swatches = control.findChildren<ColorSwatch*>();
        QTest::mouseClick(
            *std::ranges::find(swatches, u"Amber"_s, &QWidget::toolTip), Qt::LeftButton);
        QCOMPARE(color.value(), (RGBColor {.r = 1, .g = 176.0 / 255, .b = 0}));
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
