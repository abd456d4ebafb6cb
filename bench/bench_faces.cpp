// A full redraw of a deck with 32 keys (drawn, turned, encoded, framed), against what no program
// could do without: encoding as many pictures that are there already, and painting their texts and
// ready pictures of their symbols with plain Qt. One line, as PairTiming.h says.

#include "PairTiming.h"
#include "StreamDeck/StreamDeckPackets.h"
#include "StreamDeck/StreamDeckRoles.h"
#include "Support/Fonts.h"
#include "Support/Symbols.h"

#include <QBuffer>
#include <QGuiApplication>
#include <QImageWriter>
#include <QPainter>

#include <cstdlib>

using namespace Qt::StringLiterals;

namespace {

const StreamDeckModel deck = *StreamDeckModel::model(0x006C);

std::vector<StreamDeckImage::KeyFace> facesOf(const StreamDeckState& state)
{
    std::vector<StreamDeckImage::KeyFace> faces;
    for (const StreamDeckRole& role : defaultRoles(deck))
        faces.push_back(face(role, state));
    return faces;
}

StreamDeckState stateOf(int number)
{
    return {.snapshot = {.timeText = u"%1:%2"_s.arg(10 + number).arg(59 - number)},
        .phase = TimerEngine::Phase::running,
        .thresholdColor = {.r = 1, .g = 1, .b = 1},
        .currentCueIndex = number};
}

void redraw(int number)
{
    for (const StreamDeckImage::KeyFace& shown : facesOf(stateOf(number))) {
        const auto bytes =
            StreamDeckImage::encode(StreamDeckImage::render(shown, deck.keyPixels), deck);
        if (!bytes || StreamDeckImage::packets(*bytes, 0, deck).isEmpty())
            std::abort();
    }
}

/// What the faces consist of, ready to be used.
struct Parts {
    Parts()
    {
        for (const StreamDeckImage::KeyFace& shown : facesOf(stateOf(0))) {
            pictures.push_back(StreamDeckImage::render(shown, deck.keyPixels));
            if (!shown.title.isEmpty())
                texts.push_back(shown.title);
            if (!shown.subtitle.isEmpty())
                texts.push_back(shown.subtitle);
            if (shown.systemSymbol)
                symbols.push_back(symbolPicture(*shown.systemSymbol));
        }
    }

    static QImage symbolPicture(const QString& name)
    {
        QImage picture(47, 47, QImage::Format_ARGB32_Premultiplied);
        picture.fill(Qt::transparent);
        QPainter painter(&picture);
        paintSymbol(painter, name, picture.rect(), Qt::white);
        return picture;
    }

    std::vector<QImage> pictures;
    std::vector<QString> texts;
    std::vector<QImage> symbols;
};

void useParts(const Parts& parts)
{
    QImage canvas(deck.keyPixels, deck.keyPixels, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::black);
    QPainter painter(&canvas);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.setFont(Fonts::system(24, QFont::ExtraBold));
    painter.setPen(Qt::white);
    for (const QString& text : parts.texts)
        painter.drawText(canvas.rect(), Qt::AlignCenter, text);
    for (const QImage& symbol : parts.symbols)
        painter.drawImage(24, 5, symbol);
    for (const QImage& picture : parts.pictures) {
        QByteArray bytes;
        QBuffer buffer(&bytes);
        QImageWriter writer(&buffer, "jpeg");
        writer.setQuality(90);
        if (!writer.write(picture))
            std::abort();
    }
}

} // namespace

int main(int argc, char* argv[])
{
    const QGuiApplication application(argc, argv);
    const Parts parts;
    PairTiming::compare("faces_of_32_keys", redraw, [&parts](int) { useParts(parts); });
    return 0;
}
