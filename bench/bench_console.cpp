// How long the console's settings take to open with a running order of 500 cues, beside one of ten.

#include "PairTiming.h"
#include "Views/Components/ConsoleStyle.h"

#include "helpers/Console.h"

#include <QApplication>

using namespace Qt::StringLiterals;

namespace {

struct Show {
    Console console;
    ControlPanelView panel {console.models()};

    explicit Show(int count)
    {
        QList<Cue> cues;
        for (int i = 0; i < count; ++i)
            cues.append({QUuid::createUuid(), u"Cue %1 of the evening"_s.arg(i), qint64 {60} * i});
        console.cues.cues = cues;
        panel.onSizes = [this](const ConsoleHeights& heights) {
            panel.resize(ControlPanelView::width, heights.compact + 1 + heights.expanded);
        };
        panel.show();
        QCoreApplication::processEvents();
    }
};

void openSettings(Show& show)
{
    buttonCalled(show.panel, u"Show settings"_s).click();
    QCoreApplication::processEvents();
}

} // namespace

int main(int argc, char* argv[])
{
    const QApplication application(argc, argv);
    ConsoleStyle::install();
    // A first opening lays out and polishes everything, so each pair has consoles of its own.
    constexpr int pairs = 11;
    std::vector<std::unique_ptr<Show>> large;
    std::vector<std::unique_ptr<Show>> small;
    for (int i = 0; i < pairs; ++i) {
        large.push_back(std::make_unique<Show>(500));
        small.push_back(std::make_unique<Show>(10));
    }
    const auto open = [](const auto& shows) {
        return [&shows](int i) { openSettings(*shows[static_cast<size_t>(i)]); };
    };
    PairTiming::compare("open_settings", open(large), open(small), pairs);
}
