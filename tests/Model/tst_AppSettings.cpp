#include <QTest>

class AppSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(AppSettingsTest)
#include "tst_AppSettings.moc"
