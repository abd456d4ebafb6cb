#include "Views/CueControls.h"

#include "Model/TimeText.h"
#include "Support/CheckedConversions.h"
#include "Support/Fonts.h"
#include "Views/Components/ConsoleStyle.h"
#include "Views/TransportButtons.h"

#include <QHBoxLayout>

using namespace Qt::StringLiterals;

CueControls::CueControls(CueController& cues, TimerEngine& engine, QWidget* parent)
    : QWidget(parent)
    , m_cues(cues)
    , m_engine(engine)
    , m_title({})
    , m_notifiers {
          cues.cues.addNotifier([this] { showCurrentCue(); }),
          cues.currentCueID.addNotifier([this] { showCurrentCue(); }),
      }
{
    auto* rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(8);
    auto* cue = new QHBoxLayout;
    cue->setContentsMargins(2, 0, 2, 0);
    cue->setSpacing(8);
    m_title.setFont(Fonts::system(14, QFont::DemiBold));
    m_duration.setFont(Fonts::system(14, QFont::Medium));
    m_duration.setForegroundRole(QPalette::PlaceholderText);
    cue->addWidget(&m_title, 1);
    cue->addWidget(&m_duration);
    rows->addLayout(cue);
    rows->addLayout(makeTransport());
    showCurrentCue();
}

QLayout* CueControls::makeTransport()
{
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    const auto add = [&](const QString& title, const QColor& tint, int fontSize, auto action) {
        auto* button = new TransportButton(title, tint, fontSize, this);
        connect(button, &QAbstractButton::clicked, this, action);
        row->addWidget(button);
        return button;
    };
    add(u"Previous cue"_s, TransportColor::gray, 15, [this] {
        m_cues.previous();
    })->setSymbol(u"backward.fill"_s);
    add(u"GO"_s, TransportColor::green, 17, [this] { go(); });
    row->addWidget(new PauseButton(m_engine, this));
    row->addWidget(new StopButton(m_engine, this));
    add(u"Next cue"_s, TransportColor::gray, 15, [this] {
        m_cues.next();
    })->setSymbol(u"forward.fill"_s);
    return row;
}

void CueControls::showCurrentCue()
{
    const QList<Cue>& cues = m_cues.cues.value();
    const qint64 index = m_cues.currentIndex().value_or(0);
    const bool isEmpty = cues.isEmpty();
    m_title.setText(isEmpty ? u"No cues yet"_s : cues[index].title);
    m_duration.setText(isEmpty ? u"--:--"_s : minutesAndSeconds(magnitude(cues[index].seconds)));
}

void CueControls::go()
{
    m_cues.load(m_cues.currentIndex().value_or(0));
}
