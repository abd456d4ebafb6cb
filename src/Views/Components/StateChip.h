#pragma once

#include <QAbstractButton>

/// A flat button that takes the width it is given: one that shows whether a state is on and turns
/// it on and off, or one that only acts.
class StateChip final : public QAbstractButton {
public:
    enum class Kind { toggle, action };

    StateChip(const QString& label, Kind kind, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};
