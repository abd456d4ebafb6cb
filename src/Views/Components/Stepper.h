#pragma once

#include <QAbstractSpinBox>
#include <QProperty>

#include <functional>

/// A value that is read as text, and two small buttons that take it one step up and down.
class Stepper final : public QAbstractSpinBox {
public:
    struct Range {
        qint64 first = 0;
        qint64 last = 0;
        qint64 step = 1;
    };

    using Describe = std::function<QString(qint64)>;

    /// Steps through `range`; a value outside it comes back into it with the first step.
    /// `property` must outlive the stepper.
    Stepper(QProperty<qint64>& property, Range range, const Describe& describe,
        QWidget* parent = nullptr);

    void stepBy(int steps) override;
    [[nodiscard]] QSize sizeHint() const override;

protected:
    [[nodiscard]] StepEnabled stepEnabled() const override;
    void paintEvent(QPaintEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;

private:
    QProperty<qint64>& m_property;
    Range m_range;
    QPropertyNotifier m_notifier;
};
