#include <QTest>

class SoundPlayerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(SoundPlayerTest)
#include "tst_SoundPlayer.moc"
