#pragma once

#include <QCheckBox>
#include <QProperty>

/// A check box on one line. A label that is too long loses its middle, where the least matters.
class Toggle final : public QCheckBox {
public:
    explicit Toggle(const QString& label, QWidget* parent = nullptr);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};

/// Makes a checkable button show the property and the operator's clicks set it, for as long as the
/// result and the button are kept. `property` must outlive both.
[[nodiscard]] QPropertyNotifier bindToggle(QAbstractButton& button, QProperty<bool>& property);
