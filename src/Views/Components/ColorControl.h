#pragma once

#include "Model/RGBColor.h"

#include <QProperty>
#include <QWidget>

class ColorWell;

/// One line that edits one colour: its name, a colour well, and six ready colours.
class ColorControl final : public QWidget {
    Q_OBJECT

public:
    /// Follows and writes `color`, which must outlive the control. A ready colour is stored
    /// exactly as it is defined, one from the well as its sRGB components; both replace the
    /// opacity.
    ColorControl(const QString& title, QProperty<RGBColor>& color, QWidget* parent = nullptr);

private:
    QProperty<RGBColor>& m_color;
    ColorWell* m_well;
    QPropertyNotifier m_notifier;
};
