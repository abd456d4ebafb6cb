#include "Windows/ConnectedDisplays.h"

#include "Support/MainScreen.h"

#include <QGuiApplication>
#include <QHash>
#include <QScreen>

using namespace Qt::StringLiterals;

namespace {

/// Qt makes a screen of its own when the last display goes, so that windows have a place to be. On
/// X11 it is known by not being among the displays' frames.
bool isPlaceholder(const QScreen& screen)
{
    return screen.name().isEmpty() || screen.geometry().isEmpty();
}

/// Qt scales the size of a display, and not its place.
QRectF inPoints(const QRect& native, const QScreen& screen)
{
    return {native.topLeft(), QSizeF(native.size()) / screen.devicePixelRatio()};
}

QString nameOf(const QScreen& screen)
{
    const QString name =
        QStringList {screen.manufacturer(), screen.model()}.join(u' ').simplified();
    return name.isEmpty() ? screen.name() : name;
}

/// Two displays of one model could not be told apart by their name.
void tellApart(QList<ConnectedDisplay>& displays)
{
    QHash<QString, int> uses;
    for (const ConnectedDisplay& display : displays)
        ++uses[display.info.name];
    for (ConnectedDisplay& display : displays) {
        if (uses.value(display.info.name) > 1)
            display.info.name += u" (%1)"_s.arg(display.connector);
    }
}

} // namespace

ConnectedDisplays::ConnectedDisplays()
    : m_frames([this] { changed(); })
{
    const auto* application = qGuiApp;
    QObject::connect(
        application, &QGuiApplication::screenAdded, &m_context, [this](QScreen* screen) {
            watch(screen);
            changed();
        });
    QObject::connect(
        application, &QGuiApplication::screenRemoved, &m_context, [this] { changed(); });
    for (QScreen* screen : QGuiApplication::screens())
        watch(screen);
}

QList<ConnectedDisplay> ConnectedDisplays::displays() const
{
    QList<ConnectedDisplay> displays;
    const auto frames = m_frames.frames();
    const QScreen* main = mainScreen();
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (frames ? !frames->contains(screen->name()) : isPlaceholder(*screen))
            continue;
        const QRectF frame =
            frames ? inPoints(frames->value(screen->name()), *screen) : screen->geometry();
        displays.append({
            .info =
                {
                    .id = displayNumber(screen->name(), screen->manufacturer(), screen->model(),
                        screen->serialNumber()),
                    .name = nameOf(*screen),
                    .width = static_cast<qint64>(frame.width()),
                    .height = static_cast<qint64>(frame.height()),
                    .isMain = screen == main,
                },
            // A part of a point at the edge is covered, too.
            .frame = frame.toAlignedRect(),
            .connector = screen->name(),
        });
    }
    tellApart(displays);
    return displays;
}

void ConnectedDisplays::watch(QScreen* screen)
{
    QObject::connect(screen, &QScreen::geometryChanged, &m_context, [this] { changed(); });
}

void ConnectedDisplays::changed() const
{
    if (onChange)
        onChange();
}

quint32 displayNumber(const QString& connector, const QString& maker, const QString& model,
    const QString& serialNumber)
{
    // FNV-1a, 32 bits: fixed for ever, because the number is stored.
    quint32 hash = 2166136261;
    for (const QString& part : {connector, maker, model, serialNumber}) {
        for (const char byte : part.toUtf8() + '\0') {
            hash ^= static_cast<quint8>(byte);
            hash *= 16777619;
        }
    }
    return hash;
}
