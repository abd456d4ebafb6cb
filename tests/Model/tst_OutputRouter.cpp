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

} // namespace

class OutputRouterTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { m_stage = std::make_unique<Stage>(QList {m_main, m_second, m_third}); }

    void showsOnTheSecondDisplayAtLaunch()
    {
        m_stage->settings.enabledScreenIDs = {9};
        m_stage->router->enableConnectedExternalDisplays();
        QCOMPARE(m_stage->settings.enabledScreenIDs.value(), (std::set<quint32> {2, 9}));
        // Delivered through the event loop, like every other choice.
        QCOMPARE(m_stage->events, QStringList());
        QCOMPARE(m_stage->takeEvents().value(0), u"open 2"_s);
        QCOMPARE(m_stage->router->availableScreens(),
            (QList {m_main.info, m_second.info, m_third.info}));
    }

    void opensNothingOnTheOnlyDisplay()
    {
        Stage stage({m_main});
        stage.router->enableConnectedExternalDisplays();
        QCOMPARE(stage.takeEvents(), QStringList());
        QCOMPARE(stage.preferences.writes, 0);
        stage.settings.enabledScreenIDs = {1};
        QCOMPARE(stage.takeEvents(), QStringList {u"open 1"_s});
    }

    void followsTheChoice()
    {
        m_stage->settings.enabledScreenIDs = {2, 3};
        QCOMPARE(m_stage->takeEvents(), (QStringList {u"open 2"_s, u"open 3"_s}));
        m_stage->settings.enabledScreenIDs = {3};
        QCOMPARE(m_stage->takeEvents(), (QStringList {u"close 2"_s, u"cover 3 at 3360"_s}));
        m_stage->settings.enabledScreenIDs = {2, 3};
        QCOMPARE(m_stage->takeEvents(), (QStringList {u"open 2"_s, u"cover 3 at 3360"_s}));
    }

private:
    struct Stage {
        MemoryPreferences preferences;
        AppSettings settings {preferences};
        QStringList events;
        FakeDisplays* displays = nullptr;
        std::unique_ptr<OutputRouter> router;

        explicit Stage(const QList<ConnectedDisplay>& connected)
        {
            auto list = std::make_unique<FakeDisplays>();
            displays = list.get();
            displays->list = connected;
            router = std::make_unique<OutputRouter>(
                settings, std::move(list), [this](const ConnectedDisplay& display) {
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

    ConnectedDisplay m_main = display(1, true, {0, 0, 1440, 900});
    ConnectedDisplay m_second = display(2, false, {1440, 0, 1920, 1080});
    ConnectedDisplay m_third = display(3, false, {3360, 0, 1920, 1080});
    std::unique_ptr<Stage> m_stage;
};

QTEST_GUILESS_MAIN(OutputRouterTest)
#include "tst_OutputRouter.moc"
