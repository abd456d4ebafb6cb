// Paints the operator's console for the documentation: every mode, collapsed and expanded, light
// and dark, and with long texts.
//
// Usage: console_sheet FOLDER

#include "Views/Components/ConsoleStyle.h"

#include "helpers/Console.h"

#include <QApplication>
#include <QDir>

#include <cstdio>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// A console in the middle of a show.
struct Scene {
    explicit Scene(bool hasLongTexts);

    [[nodiscard]] QPixmap picture();

    Console console;
    std::optional<ControlPanelView> panel;
};

Scene::Scene(bool hasLongTexts)
{
    auto& [clock, preferences, settings, engine, cues, animator, displays, router, deck] = console;
    const QString projector = hasLongTexts
        ? u"Confidence monitor at the front of the stage, to the left"_s
        : u"Projector"_s;
    clock.advance(20h + 15min);
    displays->list = {
        {.info = {.id = 1, .name = u"Laptop"_s, .width = 1440, .height = 900, .isMain = true}},
        {.info = {.id = 2, .name = projector, .width = 1920, .height = 1080}},
    };
    settings.enabledScreenIDs = {2};
    settings.webRemoteEnabled = true;
    deck.enabled = true;
    deck.connectedModelName = u"Stream Deck XL"_s;
    cues.add(u"Welcome"_s, 5);
    cues.add(u"Keynote"_s, 40);
    cues.add(u"Break"_s, 15);
    if (hasLongTexts) {
        cues.add(u"Panel discussion with all speakers of the morning, and questions"_s, 1234);
        deck.connectedModelName = u"Stream Deck of a very long name that nobody has ever read"_s;
        deck.statusMessage = u"Another program has the Stream Deck open. Quit it, then Rescan."_s;
        engine.setMessage(u"Please come to the front of the stage, we begin in a minute"_s);
        clock.advance(1s);
    }
    cues.select(hasLongTexts ? 3 : 1);
    engine.setSeconds = 12 * 60 + 47;
    engine.start(TimerEngine::RunOrigin::operatorRequest);
    panel.emplace(console.models());
}

QPixmap Scene::picture()
{
    const ConsoleHeights heights = panel->heights();
    const int divider = heights.expanded > 0 ? 1 : 0;
    panel->resize(ControlPanelView::width, heights.compact + divider + heights.expanded);
    panel->show();
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
        buttonCalled(*scene.panel, name).click();
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
