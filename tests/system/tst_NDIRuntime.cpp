#include "helpers/NDIReceiver.h"
#include "helpers/RunningProgram.h"

#include <QFile>
#include <QNetworkInterface>
#include <QTest>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

const QString runtimeFolder = QStringLiteral(NDI_RUNTIME);

/// Whether nothing that is announced here can leave the machine.
bool isAlone()
{
    return std::ranges::all_of(QNetworkInterface::allInterfaces(), [](const auto& interface) {
        return interface.flags().testFlag(QNetworkInterface::IsLoopBack);
    });
}

/// How much of the picture is clearly red.
double redShare(const QImage& picture)
{
    int red = 0;
    for (int y = 0; y < picture.height(); y += 4) {
        for (int x = 0; x < picture.width(); x += 4) {
            const QColor color = picture.pixelColor(x, y);
            red += color.red() > 150 && color.green() < 100;
        }
    }
    return red * 16.0 / (picture.width() * picture.height());
}

} // namespace

/// The whole program with the real NDI runtime, and a receiver on the same machine.
class NDIRuntimeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        if (!QFile::exists(runtimeFolder + u"/libndi.so.6"_s))
            QSKIP("There is no NDI runtime: scripts/fetch-ndi-runtime brings one.");
        if (!isAlone())
            QSKIP("The source would be announced in the network: user namespaces are not allowed.");
    }

    void sendsTheAudiencePicture()
    {
        RunningProgram program;
        program.setSettings({{u"ndiEnabled"_s, true}, {u"ndiSourceName"_s, u"Bühne"_s}});
        program.environment().insert(u"NDI_RUNTIME_DIR_V6"_s, runtimeFolder);
        QVERIFY(program.start());
        QVERIFY(program.waitForLog("NDI sending as \"Bühne\""));

        NDIReceiver receiver(runtimeFolder);
        QVERIFY(receiver.isReady());
        NDIReceiver::Frame frame = receiver.receive(10s);
        QCOMPARE(frame.picture.size(), QSize(1920, 1080));
        QCOMPARE(frame.rateNumerator, 30000);
        QCOMPARE(frame.rateDenominator, 1000);
        QVERIFY(redShare(frame.picture) < 0.001);

        // Less than a minute is shown in red: "00:30" in the middle of a black picture.
        program.send("GO 0.5");
        for (int i = 0; i < 90 && redShare(frame.picture) < 0.01; ++i)
            frame = receiver.receive(10s);
        QVERIFY(redShare(frame.picture) > 0.01);
        QVERIFY(redShare(frame.picture.copy(0, 0, 200, 1080)) < 0.001);
        QVERIFY(qGray(frame.picture.pixel(0, 0)) < 16);
    }
};

QTEST_GUILESS_MAIN(NDIRuntimeTest)

#include "tst_NDIRuntime.moc"
