#include "Support/Fonts.h"

#include <QFile>
#include <QRawFont>
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
              "<string>Inter</string></edit></match></fontconfig>");
        qputenv("FONTCONFIG_FILE", file.fileName().toUtf8());
    }

private Q_SLOTS:
    void prefersItsOwn()
    {
        const QRawFont font = QRawFont::fromFont(Fonts::system(20, QFont::Normal));
        QCOMPARE(font.familyName(), u"Inter"_s);
    }
};

QTEST_MAIN(FontsTest)
#include "tst_Fonts.moc"
