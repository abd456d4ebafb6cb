#pragma once

#include <QLineEdit>

/// The large field for the minutes of a countdown.
class MinutesField final : public QLineEdit {
public:
    explicit MinutesField(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};
