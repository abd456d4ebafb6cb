#include "StreamDeck/StreamDeckPanel.h"

#include "Support/Follow.h"
#include "Support/Fonts.h"
#include "Views/Components/ConsoleStyle.h"
#include "Views/Components/Slider.h"
#include "Views/Components/Toggle.h"

#include <QLabel>
#include <QPushButton>
#include <QSignalBlocker>

using namespace Qt::StringLiterals;

namespace {

constexpr int lowestBrightness = 5;
constexpr int highestBrightness = 100;

QLabel* makeCaption(QPalette::ColorRole color)
{
    auto* label = new QLabel;
    label->setFont(Fonts::system(11, QFont::Normal));
    label->setForegroundRole(color);
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    return label;
}

} // namespace

/// Green while a deck is there.
class StreamDeckPanel::StatusDot final : public QWidget {
public:
    StatusDot() { setFixedSize(8, 8); }

    void setConnected(bool isConnected)
    {
        m_isConnected = isConnected;
        update();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(m_isConnected ? connectedColor(palette()) : secondaryColor(palette()));
        painter.drawEllipse(rect());
    }

private:
    bool m_isConnected = false;
};

StreamDeckPanel::StreamDeckPanel(StreamDeckControlling& streamDeck, QWidget* parent)
    : GroupBox(u"Stream Deck"_s, parent)
    , m_streamDeck(streamDeck)
{
    auto* toggle = new Toggle(u"Stream Deck control"_s, this);
    connect(toggle, &QAbstractButton::clicked, this, [this, toggle](bool isOn) {
        m_streamDeck.setEnabled(isOn);
        // It may have refused.
        toggle->setChecked(m_streamDeck.enabled);
    });
    column().addWidget(toggle);
    QWidget* details = makeDetails();
    column().addWidget(details);
    m_notifiers.push_back(follow(streamDeck.enabled, [toggle, details](bool isEnabled) {
        toggle->setChecked(isEnabled);
        details->setVisible(isEnabled);
    }));
}

QWidget* StreamDeckPanel::makeDetails()
{
    auto* details = new QWidget(this);
    auto* rows = new QVBoxLayout(details);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(column().spacing());
    rows->addLayout(makeStatusRow());
    rows->addLayout(makeBrightnessRow());

    QLabel* status = makeCaption(QPalette::BrightText);
    rows->addWidget(status);
    m_notifiers.push_back(follow(m_streamDeck.statusMessage, [status](const QString& message) {
        status->setText(message);
        status->setVisible(!message.isEmpty());
    }));
    QLabel* hint = makeCaption(QPalette::PlaceholderText);
    hint->setText(
        u"Native control — quit the Elgato Stream Deck app so Tarrow can drive the device "
        "directly."_s);
    rows->addWidget(hint);
    return details;
}

QLayout* StreamDeckPanel::makeStatusRow()
{
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    auto* dot = new StatusDot;
    auto* name = new OneLineLabel({});
    name->setFont(Fonts::system(12, QFont::Normal));
    name->setForegroundRole(QPalette::PlaceholderText);
    auto* rescan = new QPushButton(u"Rescan"_s);
    rescan->setFocusPolicy(Qt::TabFocus);
    connect(rescan, &QAbstractButton::clicked, this, [this] { m_streamDeck.rescan(); });
    row->addWidget(dot);
    row->addWidget(name, 1);
    row->addWidget(rescan);
    m_notifiers.push_back(
        follow(m_streamDeck.connectedModelName, [dot, name](const std::optional<QString>& model) {
            dot->setConnected(model.has_value());
            name->setText(model.value_or(u"No Stream Deck found"_s));
        }));
    return row;
}

QLayout* StreamDeckPanel::makeBrightnessRow()
{
    auto* row = new QHBoxLayout;
    row->setSpacing(8);
    auto* label = new QLabel(u"Brightness"_s);
    label->setForegroundRole(QPalette::PlaceholderText);
    auto* slider = new Slider(lowestBrightness, highestBrightness);
    slider->setAccessibleName(u"Brightness"_s);
    connect(slider, &QSlider::valueChanged, this,
        [this](int percent) { m_streamDeck.setBrightness(percent); });
    row->addWidget(label);
    row->addWidget(slider, 1);
    m_notifiers.push_back(follow(m_streamDeck.brightness, [slider](qint64 percent) {
        const QSignalBlocker blocker(slider);
        slider->setValue(
            static_cast<int>(std::clamp<qint64>(percent, lowestBrightness, highestBrightness)));
    }));
    return row;
}
