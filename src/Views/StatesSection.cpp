#include "Views/StatesSection.h"

#include "Support/Follow.h"
#include "Views/Components/StateChip.h"
#include "Views/Components/Toggle.h"

using namespace Qt::StringLiterals;

StatesSection::StatesSection(TimerEngine& engine, AppSettings& settings, QWidget* parent)
    : GroupBox({}, parent)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    column().addLayout(row);
    const auto add = [&](const QString& label, StateChip::Kind kind, const QString& help = {}) {
        auto* chip = new StateChip(label, kind, this);
        chip->setToolTip(help);
        row->addWidget(chip);
        return chip;
    };

    StateChip* blackout = add(u"Blackout"_s, StateChip::Kind::toggle);
    connect(blackout, &QAbstractButton::clicked, this, [&engine](bool isOn) {
        if (isOn != engine.snapshot.value().isBlackout)
            engine.toggleBlackout();
    });
    m_notifiers.push_back(follow(engine.snapshot, [blackout](const DisplaySnapshot& snapshot) {
        blackout->setChecked(snapshot.isBlackout);
    }));

    StateChip* attention = add(
        u"Attention"_s, StateChip::Kind::action, u"One-second attention strobe on the output"_s);
    connect(attention, &QAbstractButton::clicked, this, [&engine] { engine.strobe(); });

    m_notifiers.push_back(bindToggle(*add(u"Loop"_s, StateChip::Kind::toggle), engine.loop));
    m_notifiers.push_back(bindToggle(*add(u"Overtime"_s, StateChip::Kind::toggle,
                                         u"Count up past zero instead of stopping at 00:00"_s),
        settings.allowCountUp));
}
