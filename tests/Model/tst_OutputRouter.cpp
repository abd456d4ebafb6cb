#include "Model/OutputRouter.h"

#include "helpers/FakeDisplays.h"
#include "helpers/MemoryPreferences.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

ConnectedDisplay display(quint32 id, bool isMain, const QRect& frame)
{
    return {{id, u"Display %1"_s.arg(id), frame.width(), frame.height(), isMain}, frame};
}

/// What has happened to the pictures: "open 2", "cover 2 at 800", "close 2".
struct Surface final : OutputSurface {
    Surface(QStringList& events, quint32 id)
        : m_events(events)
        , m_id(id)
    {
        m_events.append(u"open %1"_s.arg(m_id));
    }
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;
    ~Surface() override { m_events.append(u"close %1"_s.arg(m_id)); }

    void cover(const ConnectedDisplay& display) override
    {
        m_events.append(u"cover %1 at %2"_s.arg(m_id).arg(display.frame.x()));
    }

private:
    QStringList& m_events;
    quint32 m_id;
};

const ConnectedDisplay mainDisplay = display(1, true, {0, 0, 1440, 900});
const ConnectedDisplay second = display(2, false, {1440, 0, 1920, 1080});
const ConnectedDisplay third = display(3, false, {3360, 0, 1920, 1080});

struct Stage {
    MemoryPreferences preferences;
    AppSettings settings {preferences};
    QStringList events;
    std::unique_ptr<OutputRouter> router;

    explicit Stage(const QList<ConnectedDisplay>& connected = {mainDisplay, second, third})
    {
        auto displays = std::make_unique<FakeDisplays>();
        displays->list = connected;
        router = std::make_unique<OutputRouter>(
            settings, std::move(displays), [this](const ConnectedDisplay& display) {
                return std::make_unique<Surface>(events, display.info.id);
            });
        // The choice as it stands at launch is delivered too.
        QCoreApplication::processEvents();
    }

    [[nodiscard]] QStringList takeEvents()
    {
        QCoreApplication::processEvents();
        return std::exchange(events, {});
    }
};

} // namespace

class OutputRouterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void showsOnTheSecondDisplayAtLaunch()
    {
        Stage stage;
        stage.settings.enabledScreenIDs = {9};
        stage.router->enableConnectedExternalDisplays();
        QCOMPARE(stage.settings.enabledScreenIDs.value(), (std::set<quint32> {2, 9}));
        // Delivered through the event loop, like every other choice.
        QCOMPARE(stage.events, QStringList());
        QCOMPARE(stage.takeEvents().value(0), u"open 2"_s);
    }

    void opensNothingOnTheOnlyDisplay()
    {
        Stage stage({mainDisplay});
        stage.router->enableConnectedExternalDisplays();
        QCOMPARE(stage.takeEvents(), QStringList());
        QCOMPARE(stage.preferences.writes, 0);
        stage.settings.enabledScreenIDs = {1};
        QCOMPARE(stage.takeEvents(), QStringList {u"open 1"_s});
    }

    void followsTheChoice()
    {
        Stage stage;
        stage.settings.enabledScreenIDs = {2, 3};
        QCOMPARE(stage.takeEvents(), (QStringList {u"open 2"_s, u"open 3"_s}));
        stage.settings.enabledScreenIDs = {3};
        QCOMPARE(stage.takeEvents(), (QStringList {u"close 2"_s, u"cover 3 at 3360"_s}));
        stage.settings.enabledScreenIDs = {2, 3};
        QCOMPARE(stage.takeEvents(), (QStringList {u"open 2"_s, u"cover 3 at 3360"_s}));
    }
};

QTEST_GUILESS_MAIN(OutputRouterTest)
#include "tst_OutputRouter.moc"
