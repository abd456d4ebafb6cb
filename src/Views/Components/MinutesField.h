#pragma once

#include "Views/Components/EntryField.h"

/// The large field for the minutes of a countdown.
class MinutesField final : public EntryField {
public:
    explicit MinutesField(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};
