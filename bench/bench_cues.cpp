// The editor of a running order of 500 cues: how long it takes to open, beside one of ten cues, and
// how many rows one edit paints.

#include "PairTiming.h"
#include "Views/Components/ConsoleStyle.h"
#include "Views/CueListView.h"
#include "Views/CueRowsView.h"

#include "helpers/MemoryPreferences.h"

#include <QApplication>
#include <QPaintEvent>

using namespace Qt::StringLiterals;

namespace {

struct Show {
    MemoryPreferences preferences;
    AppSettings settings {preferences};
    TimerEngine engine {settings};
    CueController cues {engine, settings, preferences};

    explicit Show(int count)
    {
        QList<Cue> list;
        for (int i = 0; i < count; ++i)
            list.append({QUuid::createUuid(), u"Cue %1 of the evening"_s.arg(i), qint64 {60} * i});
        cues.cues = list;
        cues.select(0);
    }
};

void open(Show& show)
{
    CueListView view(show.cues, show.settings);
    view.resize(316, view.sizeHint().height());
    view.show();
    QCoreApplication::processEvents();
}

/// Counts the points that a widget is asked to paint.
class PaintCount final : public QObject {
public:
    explicit PaintCount(QWidget& widget) { widget.installEventFilter(this); }

    qint64 points = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::Paint) {
            for (const QRect& rect : static_cast<QPaintEvent*>(event)->region())
                points += qint64 {rect.width()} * rect.height();
        }
        return false;
    }
};

/// The rows that are painted for each change of one that is in sight.
double rowsPaintedForAnEdit(Show& show)
{
    constexpr int edits = 500;
    CueListView view(show.cues, show.settings);
    view.resize(316, view.sizeHint().height());
    view.show();
    QCoreApplication::processEvents();
    const auto& rows = *view.findChild<CueRowsView*>();
    PaintCount count(*rows.viewport());
    for (int i = 0; i < edits; ++i) {
        QList<Cue> list = show.cues.cues;
        list[i % 6].seconds += 1;
        show.cues.cues = list;
        QCoreApplication::processEvents();
    }
    const QRect row = rows.rowRect(0);
    return static_cast<double>(count.points) / row.width() / row.height() / edits;
}

} // namespace

int main(int argc, char* argv[])
{
    QApplication application(argc, argv);
    ConsoleStyle::install();
    Show large(500);
    Show small(10);
    PairTiming::compare(
        "open_500_cues", [&](int) { open(large); }, [&](int) { open(small); });
    const double rows = rowsPaintedForAnEdit(large);
    std::printf("rows_painted_for_an_edit %.3f 0\n", rows);
}
