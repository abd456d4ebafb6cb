#include "Views/ControlPanelView.h"

#include "StreamDeck/StreamDeckPanel.h"
#include "Support/Fonts.h"
#include "Views/AppearanceSection.h"
#include "Views/Components/ConsoleStyle.h"
#include "Views/Components/Divider.h"
#include "Views/Components/SegmentedControl.h"
#include "Views/Components/SymbolButton.h"
#include "Views/Components/Toggle.h"
#include "Views/ConsolePreview.h"
#include "Views/CueControls.h"
#include "Views/CueListView.h"
#include "Views/MessageSection.h"
#include "Views/OutputSection.h"
#include "Views/StatesSection.h"
#include "Views/TimerControls.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <QWindow>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

constexpr int padding = 12;
constexpr int previewWidth = ControlPanelView::width - 2 * padding;
constexpr double narrowestAspect = 0.2;

/// What a block needs at the panel's width, whatever it is given now.
int neededHeight(const QWidget& block)
{
    const QLayout& layout = *block.layout();
    return layout.hasHeightForWidth() ? layout.totalHeightForWidth(ControlPanelView::width)
                                      : layout.totalSizeHint().height();
}

QWidget* makeClockNotice(QWidget* parent)
{
    auto* controls = new QWidget(parent);
    auto* row = new QHBoxLayout(controls);
    row->setContentsMargins(0, 0, 0, 0);
    auto* notice = new QLabel(u"Showing time of day"_s, controls);
    notice->setFont(Fonts::system(12, QFont::Normal));
    notice->setForegroundRole(QPalette::PlaceholderText);
    notice->setAlignment(Qt::AlignCenter);
    row->addWidget(notice);
    return controls;
}

} // namespace

ControlPanelView::ControlPanelView(const Models& models, QWidget* parent)
    : QWidget(parent)
    , m_models(models)
{
    auto* blocks = new QVBoxLayout(this);
    blocks->setContentsMargins(0, 0, 0, 0);
    blocks->setSpacing(0);
    blocks->addWidget(makeCompactBlock());
    blocks->addStretch();
    setExpanded(false);
    m_controls.front()->setFocus();

    m_compactBlock->installEventFilter(this);

    m_shapeNotifiers = m_models.settings.observe([this] { shapePreview(); });
    m_models.router.onScreensChange = [this] { showScreens(); };
    // Which display is the main one follows the focus.
    connect(qApp, &QGuiApplication::focusWindowChanged, this, [this] { showScreens(); });
    showScreens();
}

ControlPanelView::~ControlPanelView()
{
    m_models.router.onScreensChange = nullptr;
}

ConsoleHeights ControlPanelView::heights() const
{
    return {
        .compact = neededHeight(*m_compactBlock),
        .expanded = m_isExpanded ? neededHeight(*m_settingsColumn) : 0,
    };
}

bool ControlPanelView::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::LayoutRequest)
        reportHeights();
    return QWidget::eventFilter(watched, event);
}

QWidget* ControlPanelView::makeCompactBlock()
{
    m_compactBlock = new QWidget(this);
    auto* column = new QVBoxLayout(m_compactBlock);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(10);

    m_preview = new ConsolePreview(
        m_models.engine, m_models.settings, m_models.messageAnimator, m_compactBlock);
    m_preview->setAccessibleName(u"Preview of the output"_s);
    column->addWidget(m_preview);
    column->addLayout(makeModeBar());

    m_controls = {
        new TimerControls(m_models.engine, m_compactBlock),
        new CueControls(m_models.cues, m_models.engine, m_compactBlock),
        makeClockNotice(m_compactBlock),
    };
    for (QWidget* controls : m_controls) {
        column->addWidget(controls);
        controls->setVisible(controls == m_controls.front());
    }
    return m_compactBlock;
}

QLayout* ControlPanelView::makeModeBar()
{
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    auto* modes = new SegmentedControl({u"Timer"_s, u"Cues"_s, u"Clock"_s}, m_compactBlock);
    modes->setAccessibleName(u"Mode"_s);
    modes->onChoice = [this](int mode) { setMode(static_cast<ConsoleMode>(mode)); };
    row->addWidget(modes, 1);
    m_expandButton = new SymbolButton({}, {}, 20, m_compactBlock);
    // The symbol ends where the row does.
    m_expandButton->setContentsMargins(5, 4, 2, 4);
    connect(
        m_expandButton, &QAbstractButton::clicked, this, [this] { setExpanded(!m_isExpanded); });
    row->addWidget(m_expandButton);
    return row;
}

QWidget* ControlPanelView::makeExpandedBlock()
{
    m_expandedBlock = new QWidget(this);
    auto* block = new QVBoxLayout(m_expandedBlock);
    block->setContentsMargins(0, 0, 0, 0);
    block->setSpacing(0);
    block->addWidget(new Divider(m_expandedBlock));

    auto* scrollArea = new QScrollArea(m_expandedBlock);
    scrollArea->setFrameShape(QFrame::NoFrame);
    scrollArea->setFocusPolicy(Qt::NoFocus);
    scrollArea->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    scrollArea->setWidgetResizable(true);
    scrollArea->verticalScrollBar()->setProperty(ConsoleStyle::scrollBarOverlaps, true);
    block->addWidget(scrollArea, 1);

    m_settingsColumn = new QWidget;
    scrollArea->setWidget(m_settingsColumn);
    auto* column = new QVBoxLayout(m_settingsColumn);
    column->setContentsMargins(padding, padding, padding, padding);
    column->setSpacing(12);
    m_outputSection = new OutputSection(m_models.settings);
    column->addWidget(new MessageSection(m_models.engine));
    column->addWidget(new StatesSection(m_models.engine, m_models.settings));
    column->addWidget(new AppearanceSection(m_models.settings));
    column->addWidget(m_outputSection);
    column->addWidget(makeCueList());
    column->addWidget(new StreamDeckPanel(m_models.streamDeck));
    column->addLayout(makeOptions());
    column->addStretch();
    m_settingsColumn->installEventFilter(this);
    m_outputSection->showScreens(m_models.router.availableScreens());
    return m_expandedBlock;
}

QWidget* ControlPanelView::makeCueList()
{
    auto* group = new GroupBox(u"Running order"_s);
    group->column().addWidget(new CueListView(m_models.cues, m_models.settings));
    return group;
}

QLayout* ControlPanelView::makeOptions()
{
    auto* row = new QHBoxLayout;
    row->setContentsMargins(2, 0, 2, 0);
    row->setSpacing(16);
    auto* onTop = new Toggle(u"Keep console on top"_s);
    connect(onTop, &QAbstractButton::clicked, this, [this](bool isOn) {
        if (onAlwaysOnTop)
            onAlwaysOnTop(isOn);
    });
    row->addWidget(onTop);
    auto* buzzer = new Toggle(u"Finish buzzer"_s);
    m_buzzerNotifier = bindToggle(*buzzer, m_models.settings.playFinishSound);
    row->addWidget(buzzer);
    row->addStretch();
    return row;
}

void ControlPanelView::setMode(ConsoleMode mode)
{
    if (mode == ConsoleMode::clock)
        m_models.engine.setClock(true);
    else if (m_mode == ConsoleMode::clock)
        m_models.engine.setClock(false);
    QWidget& before = shownControls();
    m_mode = mode;
    shownControls().show();
    keepFocusFrom(before);
    if (&before != &shownControls())
        before.hide();
}

QWidget& ControlPanelView::shownControls() const
{
    return *m_controls[static_cast<size_t>(m_mode)];
}

/// What is about to be hidden would hand the focus to whatever comes next: what the operator means
/// for the minutes would become a message to the audience.
void ControlPanelView::keepFocusFrom(const QWidget& leaving)
{
    const QWidget* focused = focusWidget();
    if (focused == &leaving || leaving.isAncestorOf(focused))
        shownControls().setFocus();
}

void ControlPanelView::setExpanded(bool isExpanded)
{
    m_isExpanded = isExpanded;
    // The operator sees the console sooner without it.
    if (isExpanded && !m_expandedBlock)
        static_cast<QVBoxLayout*>(layout())->insertWidget(1, makeExpandedBlock(), 1);
    if (m_expandedBlock && !isExpanded)
        keepFocusFrom(*m_expandedBlock);
    const QString help = isExpanded ? u"Hide settings"_s : u"Show settings"_s;
    m_expandButton->setSymbol(isExpanded ? u"chevron.up.circle"_s : u"ellipsis.circle"_s);
    m_expandButton->setToolTip(help);
    m_expandButton->setAccessibleName(help);
    if (m_expandedBlock)
        m_expandedBlock->setVisible(isExpanded);
    reportHeights();
}

void ControlPanelView::showScreens()
{
    if (m_outputSection)
        m_outputSection->showScreens(m_models.router.availableScreens());
    shapePreview();
}

void ControlPanelView::shapePreview()
{
    const double aspect = outputAspect(m_models.router.availableScreens(), m_models.settings);
    m_preview->setFixedHeight(qRound(previewWidth / std::max(aspect, narrowestAspect)));
}

void ControlPanelView::reportHeights()
{
    const ConsoleHeights now = heights();
    if (now == m_reported)
        return;
    m_reported = now;
    if (onSizes)
        onSizes(now);
}
