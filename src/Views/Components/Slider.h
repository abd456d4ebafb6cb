#pragma once

#include <QSlider>

/// A level slider that the wheel passes over: the panel around it scrolls.
class Slider final : public QSlider {
public:
    Slider(int lowest, int highest, QWidget* parent = nullptr);

protected:
    void wheelEvent(QWheelEvent* event) override;
};
