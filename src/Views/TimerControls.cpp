#include "Views/TimerControls.h"

#include "Model/TimeText.h"
#include "Support/NumberText.h"
#include "Views/Components/ConsoleStyle.h"
#include "Views/Components/StateChip.h"
#include "Views/TransportButtons.h"

#include <QHBoxLayout>

#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

/// Nothing for what is no number, and for what no count of seconds can hold: a slip of the hand
/// must not stop the show.
std::optional<double> minutesFrom(const QString& text)
{
    constexpr auto mostSeconds = static_cast<double>(std::numeric_limits<qint64>::max());
    const std::optional<double> minutes = parseNumber(text);
    if (!minutes || !(std::abs(*minutes * 60) < mostSeconds))
        return std::nullopt;
    return minutes;
}

} // namespace

TimerControls::TimerControls(TimerEngine& engine, QWidget* parent)
    : QWidget(parent)
    , m_engine(engine)
    , m_returnKey(this)
{
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(8);
    rows->addWidget(makeTransport());
    rows->addWidget(makeQuickSets());

    setFocusProxy(&m_minutes);
    connect(&m_minutes, &QLineEdit::returnPressed, this, [this] { go(); });
    m_returnKey.setKeys({Qt::Key_Return, Qt::Key_Enter});
    m_returnKey.setAutoRepeat(false);
    connect(&m_returnKey, &QShortcut::activated, this, [this] { go(); });
}

QWidget* TimerControls::makeTransport()
{
    auto* widget = new QWidget(this);
    auto* row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(&m_minutes);
    auto* goButton = new TransportButton(u"GO"_s, TransportColor::green, 17, widget);
    connect(goButton, &QAbstractButton::clicked, this, [this] { go(); });
    row->addWidget(goButton);
    row->addWidget(new PauseButton(m_engine, widget));
    row->addWidget(new StopButton(m_engine, widget));
    return widget;
}

QWidget* TimerControls::makeQuickSets()
{
    auto* widget = new QWidget(this);
    auto* row = new QHBoxLayout(widget);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    const auto add = [&](const QString& label, const QString& name, auto action) {
        auto* chip = new StateChip(label, StateChip::Kind::action, widget);
        chip->setAccessibleName(name);
        connect(chip, &QAbstractButton::clicked, this, action);
        row->addWidget(chip);
    };
    for (const int minutes : quickSets) {
        const QString text = QString::number(minutes);
        add(text, u"Set %1 minutes"_s.arg(minutes), [this, text] { m_minutes.setText(text); });
    }
    add(u"−1"_s, u"Subtract a minute"_s, [this] { m_engine.subtractMinute(); });
    add(u"+1"_s, u"Add a minute"_s, [this] { m_engine.addMinute(); });
    return widget;
}

void TimerControls::go()
{
    if (const std::optional<double> minutes = minutesFrom(m_minutes.text()))
        m_engine.setSeconds = secondsFromMinutes(*minutes);
    m_engine.start(TimerEngine::RunOrigin::operatorRequest);
}
