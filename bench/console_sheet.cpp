// Paints the operator's console for the documentation: every mode, collapsed and expanded, light
// and dark, and with long texts.
//
// Usage: console_sheet FOLDER

#include "Views/Components/ConsoleStyle.h"
#include "Views/ControlPanelView.h"

#include "helpers/MemoryPreferences.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDir>

#include <algorithm>
#include <cstdio>

using namespace Qt::StringLiterals;

namespace {

class FixedDisplays final : public DisplayList {
public:
    QList<ConnectedDisplay> list;

    [[nodiscard]] QList<ConnectedDisplay> displays() const override { return list; }
};

class NoSurface final : public OutputSurface {
public:
    void cover(const ConnectedDisplay&) override { }
};

class PaintedDeck final : public StreamDeckControlling {
public:
    void setEnabled(bool value) override { enabled = value; }
    void setBrightness(qint64 percent) override { brightness = percent; }
    void rescan() override { }
};

/// A console in the middle of a show.
struct Scene {
    explicit Scene(bool hasLongTexts);

    void press(const QString& name);
    [[nodiscard]] QPixmap picture();

    MemoryPreferences preferences;
    AppSettings settings {preferences};
    TimerEngine engine {settings};
    CueController cues {engine, settings, preferences};
    MessageAnimator animator {engine};
    std::unique_ptr<FixedDisplays> displays = std::make_unique<FixedDisplays>();
    std::optional<OutputRouter> router;
    PaintedDeck deck;
    std::optional<ControlPanelView> panel;
};

Scene::Scene(bool hasLongTexts)
{
    const QString projector = hasLongTexts
        ? u"Barco Event Master Projection System, Stage Left, Confidence"_s
        : u"Projector"_s;
    displays->list = {
        {.info = {.id = 1, .name = u"Laptop"_s, .width = 1440, .height = 900, .isMain = true}},
        {.info = {.id = 2, .name = projector, .width = 1920, .height = 1080}},
    };
    router.emplace(settings, std::move(displays),
        [](const ConnectedDisplay&) { return std::make_unique<NoSurface>(); });
    settings.enabledScreenIDs = {2};
    settings.webRemoteEnabled = true;
    deck.enabled = true;
    deck.connectedModelName = u"Stream Deck XL"_s;
    cues.add(u"Welcome"_s, 5);
    cues.add(hasLongTexts
            ? u"Panel discussion with all speakers of the morning, and questions from the hall"_s
            : u"Keynote"_s,
        hasLongTexts ? 1234 : 40);
    cues.add(u"Break"_s, 15);
    cues.select(1);
    if (hasLongTexts) {
        deck.connectedModelName = u"Stream Deck of a very long name that nobody has ever read"_s;
        deck.statusMessage = u"Another program has the Stream Deck open. Quit it, then Rescan."_s;
        engine.setMessage(u"Please come to the front of the stage, we begin in a minute"_s);
    }
    engine.setSeconds = 12 * 60;
    engine.start(TimerEngine::RunOrigin::operatorRequest);
    panel.emplace(ControlPanelView::Models {engine, settings, cues, *router, deck, animator});
}

void Scene::press(const QString& name)
{
    const auto buttons = panel->findChildren<QAbstractButton*>();
    const auto button = std::ranges::find_if(buttons, [&](const QAbstractButton* candidate) {
        return candidate->text() == name || candidate->accessibleName() == name;
    });
    if (button == buttons.end())
        qFatal("The console has no button %s", qUtf8Printable(name));
    (*button)->click();
}

QPixmap Scene::picture()
{
    const ConsoleHeights heights = panel->heights();
    const int divider = heights.expanded > 0 ? 1 : 0;
    panel->resize(ControlPanelView::width, heights.compact + divider + heights.expanded);
    panel->show();
    while (animator.isRunning())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    QCoreApplication::processEvents();
    return panel->grab();
}

struct Shot {
    QString name;
    bool hasLongTexts = false;
    QStringList presses;
};

bool save(const Shot& shot, const QString& appearance, const QDir& folder)
{
    Scene scene(shot.hasLongTexts);
    for (const QString& name : shot.presses)
        scene.press(name);
    const QString file = folder.filePath(u"console-%1-%2.png"_s.arg(shot.name, appearance));
    if (scene.picture().save(file))
        return true;
    std::fprintf(stderr, "%s cannot be written\n", qUtf8Printable(file));
    return false;
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    const QStringList arguments = QApplication::arguments();
    if (arguments.size() != 2) {
        std::fputs("Usage: console_sheet FOLDER\n", stderr);
        return 2;
    }
    ConsoleStyle::install();
    const QList<Shot> shots {
        {u"timer"_s, false, {u"5"_s}},
        {u"cues"_s, false, {u"Cues"_s}},
        {u"clock"_s, false, {u"Clock"_s}},
        {u"settings"_s, false, {u"Show settings"_s, u"Loop"_s}},
        {u"long-texts"_s, true, {u"Cues"_s, u"Pause"_s, u"Show settings"_s}},
    };
    bool isComplete = true;
    for (const auto& [appearance, name] : {std::pair(ConsoleStyle::Appearance::light, u"light"_s),
             std::pair(ConsoleStyle::Appearance::dark, u"dark"_s)}) {
        QApplication::setPalette(ConsoleStyle::palette(appearance));
        for (const Shot& shot : shots)
            isComplete = save(shot, name, QDir(arguments[1])) && isComplete;
    }
    return isComplete ? 0 : 1;
}
