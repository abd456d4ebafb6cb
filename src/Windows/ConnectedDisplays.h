#pragma once

#include "Model/OutputRouter.h"
#include "Platform/DisplayFrames.h"

#include <QObject>

class QScreen;

/// The displays that the window system reports.
class ConnectedDisplays final : public DisplayList {
public:
    ConnectedDisplays();

    [[nodiscard]] QList<ConnectedDisplay> displays() const override;

private:
    void watch(QScreen* screen);
    void changed() const;

    DisplayFrames m_frames;
    QObject m_context;
};

/// The number under which a display is stored. It is made of the connector and of what the display
/// says of itself, so it is the same at every launch and after re-plugging.
[[nodiscard]] quint32 displayNumber(const QString& connector, const QString& maker,
    const QString& model, const QString& serialNumber);
