#include "Platform/HIDReportDescriptor.h"

#include <QByteArray>
#include <QTest>

class HIDReportDescriptorTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void findsTheLongestReport_data()
    {
        QTest::addColumn<QByteArray>("descriptor");
        QTest::addColumn<std::optional<qint64>>("bytes");

        // 75 size, 95 count, 85 number, 81 input, 91 output, b1 feature, a4 push, b4 pop, fe long
        const auto row = [](const char* name, const char* hex, std::optional<qint64> bytes) {
            QTest::newRow(name) << QByteArray::fromHex(hex) << bytes;
        };
        row("without numbers", "75 08 95 40 81 02", 64);
        row("a number takes a byte", "85 01 75 08 96 ff01 81 02", 512);
        row("the longest of several", "75 08 85 01 95 05 81 02 85 02 95 09 81 02", 10);
        row("fields of one report add up", "75 08 95 03 81 02 75 01 95 09 81 02", 5);
        row("output and feature do not count", "75 08 95 02 81 02 95 40 91 02 95 20 b1 02", 2);
        row("pushed and popped", "75 08 95 02 a4 95 40 b4 81 02", 2);
        row("a long item is passed over", "fe 02 10 81 02 75 08 95 04 81 02", 4);
        row("more than any system takes", "77 ffffffff 97 ffffffff 81 02 81 02", 16384);
        row("output alone", "75 08 95 40 91 02", std::nullopt);
        row("cut within an item", "75 08 96 ff", std::nullopt);
        row("popped without a push", "b4 75 08 95 40 81 02", std::nullopt);
    }
    void findsTheLongestReport()
    {
        QFETCH(const QByteArray, descriptor);
        QTEST(maxInputReportSize(descriptor), "bytes");
    }
};

QTEST_APPLESS_MAIN(HIDReportDescriptorTest)
#include "tst_HIDReportDescriptor.moc"
