#include "Views/Components/ConsoleStyle.h"

#include <QTest>

using Appearance = ConsoleStyle::Appearance;

class ConsoleStyleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void followsTheDesktop()
    {
        for (const auto& [window, expected] :
            {std::pair(QColor(0xef, 0xf0, 0xf1), Appearance::light),
                std::pair(QColor(0x35, 0x35, 0x35), Appearance::dark)}) {
            QPalette palette(Qt::red, window);
            ConsoleStyle().polish(palette);
            QCOMPARE(palette, ConsoleStyle::palette(expected));
        }
    }
};

QTEST_MAIN(ConsoleStyleTest)
#include "tst_ConsoleStyle.moc"
