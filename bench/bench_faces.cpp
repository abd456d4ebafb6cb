// A full redraw of a deck with 32 keys (drawn, turned, encoded, framed), against what no program
// could do without: encoding as many pictures that are there already, and painting a text and a
// ready picture of a symbol for each with plain Qt. One line, as PairTiming.h says, in processor
// time.

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

StreamDeckState stateOf(int number)
{
    return {.snapshot = {.timeText = u"%1:%2"_s.arg(10 + number).arg(59 - number)},
        .phase = TimerEngine::Phase::running,
        .thresholdColor = {.r = 1, .g = 1, .b = 1},
        .currentCueIndex = number};
}

void redraw(const StreamDeckRole& role, const StreamDeckState& state)
{
    const auto bytes =
        StreamDeckImage::encode(StreamDeckImage::render(face(role, state), deck.keyPixels), deck);
    if (!bytes || StreamDeckImage::packets(*bytes, 0, deck).isEmpty())
        std::abort();
}

/// What one face consists of, ready to be used; where it lacks a text or a symbol it has those of
/// GO.
struct Parts {
    explicit Parts(const StreamDeckImage::KeyFace& shown)
        : text(shown.title.isEmpty() ? u"GO"_s : shown.title)
        , symbol(47, 47, QImage::Format_ARGB32_Premultiplied)
        , picture(StreamDeckImage::render(shown, deck.keyPixels))
    {
        symbol.fill(Qt::transparent);
        QPainter painter(&symbol);
        paintSymbol(painter, shown.systemSymbol.value_or(u"play.fill"_s), symbol.rect(), Qt::white);
    }

    QString text;
    QImage symbol;
    QImage picture;
};

void use(const Parts& parts, QPainter& painter, const QRect& canvas)
{
    painter.drawText(canvas, Qt::AlignCenter, parts.text);
    painter.drawImage(24, 5, parts.symbol);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    QImageWriter writer(&buffer, "jpeg");
    writer.setQuality(90);
    if (!writer.write(parts.picture))
        std::abort();
}

} // namespace

int main(int argc, char* argv[])
{
    const QGuiApplication application(argc, argv);
    const QList<StreamDeckRole> roles = defaultRoles(deck);
    std::vector<Parts> parts;
    for (const StreamDeckRole& role : roles)
        parts.emplace_back(face(role, stateOf(0)));

    QImage canvas(deck.keyPixels, deck.keyPixels, QImage::Format_ARGB32_Premultiplied);
    canvas.fill(Qt::black);
    QPainter painter(&canvas);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    painter.setFont(Fonts::system(24, QFont::ExtraBold));
    painter.setPen(Qt::white);
    PairTiming::compareInSlices(
        "faces_of_32_keys", deck.keyCount,
        [&](int number, int key) { redraw(roles[key], stateOf(number)); },
        [&](int, int key) { use(parts[static_cast<std::size_t>(key)], painter, canvas.rect()); });
    return 0;
}
