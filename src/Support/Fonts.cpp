#include "Support/Fonts.h"

#include "Support/ControlLog.h"

#include <QDirIterator>
#include <QFontDatabase>
#include <QResource>

using namespace Qt::StringLiterals;

namespace {

void loadFonts()
{
    static const bool loaded = [] {
        // The system's typefaces first: those of the same family and style make way for ours.
        (void)QFontDatabase::hasFamily({});
        for (QDirIterator files(u":/fonts"_s); files.hasNext();) {
            const QString file = files.next();
            // They lie uncompressed in the program, and are used where they are.
            const QResource font(file);
            const auto bytes =
                QByteArray::fromRawData(reinterpret_cast<const char*>(font.data()), font.size());
            if (QFontDatabase::addApplicationFontFromData(bytes) < 0)
                qCCritical(controlLog, "The typeface %s cannot be used", qUtf8Printable(file));
        }
        return true;
    }();
    Q_UNUSED(loaded)
}

QFont font(const QString& family, int pixelSize, QFont::Weight weight)
{
    loadFonts();
    QFont font(family);
    font.setPixelSize(pixelSize);
    font.setWeight(weight);
    font.setHintingPreference(QFont::PreferNoHinting);
    font.setStyleStrategy(QFont::PreferAntialias);
    return font;
}

} // namespace

QFont Fonts::system(int pixelSize, QFont::Weight weight)
{
    return font(u"Inter"_s, pixelSize, weight);
}

QFont Fonts::monospaced(int pixelSize, QFont::Weight weight)
{
    return font(u"JetBrains Mono"_s, pixelSize, weight);
}
