#include "Support/Fonts.h"

#include <QFile>
#include <QFontMetricsF>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class FontsTest : public QObject {
    Q_OBJECT

public:
    /// Before the application: the system's only typefaces are others under the name of ours.
    static void initMain()
    {
        static const QTemporaryDir folder;
        QFile file(folder.filePath(u"fonts.conf"_s));
        if (!file.open(QIODevice::WriteOnly))
            qFatal("no fonts.conf");
        file.write("<fontconfig><dir>/usr/share/fonts/truetype/jetbrains-mono</dir><cachedir>"
            + folder.path().toUtf8()
            + "</cachedir><match target=\"scan\"><edit name=\"family\" mode=\"assign\">"
              "<string>Inter</string></edit><edit name=\"foundry\" mode=\"assign\">"
              "<string>RSMS</string></edit></match></fontconfig>");
        qputenv("FONTCONFIG_FILE", file.fileName().toUtf8());
    }

private Q_SLOTS:
    /// The others have characters of one width, and the same names for these styles.
    void prefersItsOwn()
    {
        for (const auto weight : {QFont::Normal, QFont::Medium, QFont::Bold}) {
            const QFontMetricsF metrics(Fonts::system(20, weight));
            QVERIFY2(metrics.horizontalAdvance(u'i') < metrics.horizontalAdvance(u'm'),
                QByteArray::number(weight));
        }
    }
};

QTEST_MAIN(FontsTest)
#include "tst_Fonts.moc"
