#pragma once

#include <QWidget>

/// A level line, one point high.
class Divider final : public QWidget {
public:
    explicit Divider(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};
