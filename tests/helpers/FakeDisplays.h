#pragma once

#include "Model/OutputRouter.h"

/// Displays that are there because the test says so.
class FakeDisplays final : public DisplayList {
public:
    QList<ConnectedDisplay> list;

    [[nodiscard]] QList<ConnectedDisplay> displays() const override { return list; }
};
