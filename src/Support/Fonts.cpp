#include "Support/Fonts.h"

#include "Support/ControlLog.h"

#include <QDirIterator>
#include <QFontDatabase>

using namespace Qt::StringLiterals;

namespace {

void loadFonts()
{
    static const bool loaded = [] {
        for (QDirIterator files(u":/fonts"_s); files.hasNext();) {
            const QString file = files.next();
            if (QFontDatabase::addApplicationFont(file) < 0)
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
