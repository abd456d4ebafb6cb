#pragma once

#include <QLabel>

/// Plain text on one line, which takes the width it is given; what is too long ends in an
/// ellipsis.
class OneLineLabel final : public QLabel {
public:
    explicit OneLineLabel(const QString& text, QWidget* parent = nullptr);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
};
