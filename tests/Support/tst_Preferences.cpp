#include <QTest>

class PreferencesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
};

QTEST_GUILESS_MAIN(PreferencesTest)
#include "tst_Preferences.moc"
