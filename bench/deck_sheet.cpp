// Paints decks as the operator sees them, in the states that they have during a show: one picture
// for each model that has displays, named after it. Models of one name look alike.
//
// Usage: deck_sheet FOLDER

#include "StreamDeck/StreamDeckRoles.h"
#include "Support/Fonts.h"

#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>
#include <QRegularExpression>

#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

using Phase = TimerEngine::Phase;

struct Scene {
    QString caption;
    StreamDeckState state;
};

const RGBColor white {.r = 1, .g = 1, .b = 1};
const RGBColor amber {.r = 1, .g = 176.0 / 255, .b = 0};

const QList<Scene>& scenes()
{
    static const QList<Scene> all {
        {u"Idle"_s, {.thresholdColor = white}},
        {u"Running"_s,
            {.snapshot = {.timeText = u"12:47"_s},
                .phase = Phase::running,
                .thresholdColor = white,
                .cueFollow = true,
                .currentCueIndex = 2}},
        {u"Paused"_s,
            {.snapshot = {.timeText = u"04:11"_s, .threshold = TimeThreshold::amber},
                .phase = Phase::paused,
                .thresholdColor = amber,
                .loop = true}},
        {u"Blackout"_s,
            {.snapshot = {.timeText = u"12:47"_s, .isBlackout = true},
                .phase = Phase::running,
                .thresholdColor = white,
                .currentCueIndex = 2}},
        {u"Message on air"_s,
            {.snapshot = {.timeText = u"04:11"_s,
                 .threshold = TimeThreshold::amber,
                 .message = u"PLEASE WRAP UP"_s},
                .phase = Phase::running,
                .thresholdColor = amber,
                .allowCountUp = true}},
        {u"Time of day"_s,
            {.snapshot = {.timeText = u"9:41 PM"_s},
                .phase = Phase::clock,
                .thresholdColor = white}},
    };
    return all;
}

constexpr int gap = 20;
constexpr int captionHeight = 44;
constexpr int titleHeight = 56;
const QColor captionColor(0xd8, 0xd8, 0xdc);

QSize deckSize(const StreamDeckModel& model)
{
    return QSize(model.cols, model.rows) * (model.keyPixels + gap) + QSize(gap, gap);
}

void paintDeck(QPainter& painter, const StreamDeckModel& model, const StreamDeckState& state)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x05, 0x05, 0x06));
    painter.drawRoundedRect(QRect({}, deckSize(model)), gap, gap);
    const QList<StreamDeckRole> roles = defaultRoles(model);
    const int pitch = model.keyPixels + gap;
    for (int key = 0; key < model.keyCount; ++key) {
        const QPoint place(gap + key % model.cols * pitch, gap + key / model.cols * pitch);
        const QImage picture = StreamDeckImage::render(face(roles[key], state), model.keyPixels);
        // The device's frame rounds the corners.
        QPainterPath window;
        window.addRoundedRect(QRect(place, picture.size()), 9, 9);
        painter.save();
        painter.setClipPath(window);
        painter.drawImage(place, picture);
        painter.restore();
    }
}

void write(QPainter& painter, const QPoint& baseline, const QString& text, int size)
{
    painter.setFont(Fonts::system(size, QFont::DemiBold));
    painter.setPen(captionColor);
    painter.drawText(baseline, text);
}

QImage sheet(const StreamDeckModel& model)
{
    constexpr int columns = 2;
    const QSize cell = deckSize(model) + QSize(gap, gap + captionHeight);
    const auto rows = static_cast<int>(scenes().size() + columns - 1) / columns;
    QImage picture(cell.width() * columns + gap, titleHeight + cell.height() * rows + gap,
        QImage::Format_RGB32);
    picture.fill(QColor(0x2b, 0x2b, 0x2e));
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    write(painter, {2 * gap, titleHeight - 4}, model.name, 30);
    for (int i = 0; i < scenes().size(); ++i) {
        painter.save();
        const QPoint place(i % columns * cell.width(), i / columns * cell.height());
        painter.translate(place + QPoint(gap, titleHeight + gap));
        write(painter, {gap, captionHeight - 16}, scenes()[i].caption, 20);
        painter.translate(0, captionHeight);
        paintDeck(painter, model, scenes()[i].state);
        painter.restore();
    }
    return picture;
}

/// "Stream Deck +" is stream-deck-plus.png.
QString fileName(const StreamDeckModel& model)
{
    static const QRegularExpression noPartOfAName(u"[^a-z0-9]+"_s);
    const QString words = model.name.toLower().replace(u'+', u"plus"_s);
    return QString(words).replace(noPartOfAName, u"-"_s) + u".png"_s;
}

} // namespace

int main(int argc, char* argv[])
{
    const QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 2) {
        std::fputs("Usage: deck_sheet FOLDER\n", stderr);
        return 2;
    }
    QStringList made;
    for (const StreamDeckModel& model : StreamDeckModel::all()) {
        const QString file = QDir(arguments[1]).filePath(fileName(model));
        if (!model.hasDisplays() || made.contains(file))
            continue;
        made.append(file);
        if (!sheet(model).save(file)) {
            std::fprintf(stderr, "%s cannot be written\n", qUtf8Printable(file));
            return 1;
        }
    }
    return 0;
}
