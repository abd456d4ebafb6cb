#include "Views/Components/SegmentedControl.h"

#include "Support/Fonts.h"
#include "Views/Components/ConsoleStyle.h"
#include "Views/Components/ShrinkingText.h"

#include <QAbstractButton>
#include <QHBoxLayout>
#include <QPainter>

namespace {

constexpr int segmentHeight = 24;
constexpr int inset = 2;
constexpr double radius = 7;

class Segment final : public QAbstractButton {
public:
    Segment(const QString& label, QWidget* parent)
        : QAbstractButton(parent)
    {
        setText(label);
        setCheckable(true);
        setFocusPolicy(Qt::NoFocus);
        setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    }

    [[nodiscard]] QSize sizeHint() const override { return {segmentHeight, segmentHeight}; }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        if (isChecked() || isDown()) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(isChecked() ? accentColor(palette())
                                         : withOpacity(secondaryColor(palette()), 0.30));
            painter.drawRoundedRect(rect(), radius - inset, radius - inset);
        }
        painter.setPen(isChecked() ? QColor(Qt::white) : palette().color(QPalette::WindowText));
        drawShrinkingText(painter, QRectF(rect()).adjusted(4, 0, -4, 0), text(),
            Fonts::system(13, QFont::Medium), 0.7);
        if (showsFocus(*this)) {
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(isChecked() ? QColor(Qt::white) : accentColor(palette()), 2));
            painter.drawRoundedRect(QRectF(rect()).adjusted(3, 3, -3, -3), 3, 3);
        }
    }
};

} // namespace

SegmentedControl::SegmentedControl(const QStringList& labels, QWidget* parent)
    : QWidget(parent)
{
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(inset, inset, inset, inset);
    row->setSpacing(inset);
    for (const QString& label : labels) {
        auto* segment = new Segment(label, this);
        row->addWidget(segment);
        m_group.addButton(segment, static_cast<int>(m_group.buttons().size()));
    }
    QObject::connect(&m_group, &QButtonGroup::idToggled, this, [this](int position, bool isOn) {
        // From either side the Tab key comes to what is chosen.
        m_group.button(position)->setFocusPolicy(isOn ? Qt::TabFocus : Qt::NoFocus);
        if (isOn && onChoice)
            onChoice(position);
    });
    m_group.button(0)->setChecked(true);
}

void SegmentedControl::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QColor secondary = secondaryColor(palette());
    drawRoundedBox(
        painter, rect(), radius, withOpacity(secondary, 0.18), withOpacity(secondary, 0.25));
}
