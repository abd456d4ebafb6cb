#pragma once

#include <QButtonGroup>
#include <QWidget>

#include <functional>

/// A row of labels of which exactly one is chosen. One stop for the Tab key, walked with the arrow
/// keys.
class SegmentedControl final : public QWidget {
public:
    /// The first label is chosen at first.
    explicit SegmentedControl(const QStringList& labels, QWidget* parent = nullptr);

    [[nodiscard]] int chosen() const { return m_group.checkedId(); }

    /// Called with the 0-based position of another segment that the operator has chosen.
    std::function<void(int)> onChoice;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QButtonGroup m_group;
};
