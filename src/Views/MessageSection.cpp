#include "Views/MessageSection.h"

#include "Support/Follow.h"

using namespace Qt::StringLiterals;

MessageSection::MessageSection(TimerEngine& engine, QWidget* parent)
    : GroupBox(u"Message"_s, parent)
    , m_engine(engine)
    , m_text(u"Message to display"_s)
    , m_clear(u"Clear"_s)
{
    auto* row = new QHBoxLayout;
    row->setSpacing(6);
    row->addWidget(&m_text, 1);
    // The field keeps its width when the label changes.
    m_showOrHide.setText(u"Show"_s);
    m_showOrHide.setMinimumWidth(m_showOrHide.sizeHint().width());
    for (QPushButton* button : {&m_showOrHide, &m_clear}) {
        button->setFocusPolicy(Qt::TabFocus);
        row->addWidget(button);
    }
    column().addLayout(row);

    connect(&m_text, &QLineEdit::returnPressed, this, [this] { send(); });
    connect(&m_showOrHide, &QAbstractButton::clicked, this, [this] { showOrHide(); });
    connect(&m_clear, &QAbstractButton::clicked, this, [this] { clear(); });
    m_notifier = follow(engine.snapshot, [this](const DisplaySnapshot& snapshot) {
        m_showOrHide.setText(snapshot.message ? u"Hide"_s : u"Show"_s);
    });
}

void MessageSection::send()
{
    m_engine.setMessage(m_text.text());
}

void MessageSection::showOrHide()
{
    if (m_engine.snapshot.value().message)
        m_engine.setMessage(std::nullopt);
    else
        send();
}

void MessageSection::clear()
{
    m_text.clear();
    m_engine.setMessage(std::nullopt);
}
