// Paints decks as the operator sees them, in the states that they have during a show: one picture
// for each number of keys.
//
// Usage: deck_sheet FOLDER

#include "StreamDeck/StreamDeckRoles.h"
#include "Support/Fonts.h"

#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QPainterPath>

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

QSize deckSize(const StreamDeckModel& model)
{
    return QSize(model.cols, model.rows) * (model.keyPixels + gap) + QSize(gap, gap);
}

void paintDeck(QPainter& painter, const StreamDeckModel& model, const StreamDeckState& state)
{
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(0x17, 0x17, 0x19));
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

QImage sheet(const StreamDeckModel& model)
{
    constexpr int columns = 2;
    const QSize cell = deckSize(model) + QSize(gap, gap + captionHeight);
    const auto rows = static_cast<int>(scenes().size() + columns - 1) / columns;
    QImage picture(cell.width() * columns + gap, cell.height() * rows + gap, QImage::Format_RGB32);
    picture.fill(QColor(0x2b, 0x2b, 0x2e));
    QPainter painter(&picture);
    painter.setRenderHints(QPainter::Antialiasing | QPainter::TextAntialiasing);
    for (int i = 0; i < scenes().size(); ++i) {
        painter.save();
        const QPoint place(i % columns * cell.width(), i / columns * cell.height());
        painter.translate(place + QPoint(gap, gap));
        painter.setFont(Fonts::system(20, QFont::DemiBold));
        painter.setPen(QColor(0xd8, 0xd8, 0xdc));
        painter.drawText(gap, captionHeight - 16, scenes()[i].caption);
        painter.translate(0, captionHeight);
        paintDeck(painter, model, scenes()[i].state);
        painter.restore();
    }
    return picture;
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
    QList<int> keyCounts;
    for (const StreamDeckModel& model : StreamDeckModel::all()) {
        if (!model.hasDisplays() || keyCounts.contains(model.keyCount))
            continue;
        keyCounts.push_back(model.keyCount);
        const QString file = QDir(arguments[1]).filePath(u"deck-%1.png"_s.arg(model.keyCount));
        if (!sheet(model).save(file)) {
            std::fprintf(stderr, "%s cannot be written\n", qUtf8Printable(file));
            return 1;
        }
    }
    return 0;
}
