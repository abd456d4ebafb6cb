#include "Views/CueListView.h"

#include "Support/NumberText.h"
#include "Views/Components/Divider.h"
#include "Views/Components/EntryField.h"
#include "Views/Components/SymbolIcon.h"
#include "Views/Components/Toggle.h"
#include "Views/CueListDialogs.h"
#include "Views/CueRowsView.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int spacing = 6;
constexpr int minutesWidth = 56;

/// Nothing but spaces and tabs.
bool isBlank(const QString& text)
{
    return std::ranges::all_of(
        text, [](QChar c) { return c == u'\t' || c.category() == QChar::Separator_Space; });
}

QHBoxLayout* makeRow()
{
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing);
    return row;
}

QPushButton* addButton(QHBoxLayout& row, const QString& label)
{
    auto* button = new QPushButton(label);
    button->setFocusPolicy(Qt::TabFocus);
    row.addWidget(button);
    return button;
}

} // namespace

CueListView::CueListView(CueController& cues, AppSettings& settings, QWidget* parent)
    : QWidget(parent)
    , m_cues(cues)
    , m_emptyText(new QLabel(u"No cues yet — add one below."_s, this))
    , m_rows(new CueRowsView(cues, this))
    , m_cuesNotifier(cues.cues.addNotifier([this] { showWhetherEmpty(); }))
{
    m_emptyText->setForegroundRole(QPalette::PlaceholderText);
    auto* divider = new Divider(this);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(spacing);
    column->addWidget(m_emptyText);
    column->addWidget(m_rows);
    column->addWidget(divider);
    column->addLayout(makeAddRow());
    column->addLayout(makeSteppingRow(settings));
    column->addLayout(makeFileRow());
    showWhetherEmpty();
}

QLayout* CueListView::makeAddRow()
{
    QHBoxLayout* row = makeRow();
    m_newTitle = new EntryField(u"Cue title"_s);
    m_newMinutes = new EntryField(u"Min"_s);
    m_newMinutes->setAccessibleName(u"Minutes"_s);
    m_newMinutes->setFixedWidth(minutesWidth);
    row->addWidget(m_newTitle, 1);
    row->addWidget(m_newMinutes);
    connect(addButton(*row, u"Add"_s), &QPushButton::clicked, this, &CueListView::addCue);
    connect(m_newTitle, &QLineEdit::returnPressed, this, &CueListView::addCue);
    connect(m_newMinutes, &QLineEdit::returnPressed, this, &CueListView::addCue);
    return row;
}

QLayout* CueListView::makeSteppingRow(AppSettings& settings)
{
    QHBoxLayout* row = makeRow();
    QPushButton* previous = addButton(*row, u"Prev"_s);
    previous->setIcon(symbolIcon(u"backward.fill"_s));
    connect(previous, &QPushButton::clicked, this, [this] { m_cues.previous(); });
    QPushButton* next = addButton(*row, u"Next"_s);
    next->setIcon(symbolIcon(u"forward.fill"_s));
    connect(next, &QPushButton::clicked, this, [this] { m_cues.next(); });
    row->addStretch();
    auto* toggle = new Toggle(u"Follow"_s);
    toggle->setToolTip(u"Auto-advance to the next cue when a cue's timer finishes"_s);
    m_followNotifier = bindToggle(*toggle, settings.cueFollow);
    row->addWidget(toggle);
    return row;
}

QLayout* CueListView::makeFileRow()
{
    QHBoxLayout* row = makeRow();
    m_save = addButton(*row, u"Save…"_s);
    connect(
        m_save, &QPushButton::clicked, this, [this] { CueListDialogs::saveCues(m_cues, this); });
    connect(addButton(*row, u"Import…"_s), &QPushButton::clicked, this,
        [this] { CueListDialogs::importCues(m_cues, this); });
    row->addStretch();
    m_clear = addButton(*row, u"Clear All"_s);
    connect(
        m_clear, &QPushButton::clicked, this, [this] { CueListDialogs::clearCues(m_cues, this); });
    return row;
}

void CueListView::addCue()
{
    const QString title = m_newTitle->text();
    const double minutes = parseNumber(m_newMinutes->text()).value_or(0);
    if (isBlank(title) && !(minutes > 0))
        return;
    m_cues.add(title, minutes);
    m_newTitle->clear();
    m_newMinutes->clear();
}

void CueListView::showWhetherEmpty()
{
    const bool isEmpty = m_cues.cues.value().isEmpty();
    m_emptyText->setVisible(isEmpty);
    m_rows->setVisible(!isEmpty);
    m_save->setEnabled(!isEmpty);
    m_clear->setEnabled(!isEmpty);
}
