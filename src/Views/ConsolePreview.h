#pragma once

#include "Model/OutputRouter.h"
#include "Views/OutputView.h"

/// The shape that the audience sees, width ÷ height: that of the first display in use, of the NDI
/// picture, or of the first display there is; 16:9 when there is nothing to go by.
[[nodiscard]] double outputAspect(const QList<ScreenInfo>& screens, const AppSettings& settings);

/// The audience picture on the console, with rounded corners and a thin outline.
class ConsolePreview final : public OutputView {
public:
    using OutputView::OutputView;

protected:
    void paintEvent(QPaintEvent* event) override;
};
