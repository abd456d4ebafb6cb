#pragma once

#include "Model/OutputRouter.h"
#include "Views/OutputView.h"

/// The window that covers a display with the audience picture: above everything, on every virtual
/// desktop, without a frame, and out of reach of mouse and keyboard.
///
/// Where the window system places windows itself, the window is full-screen on its display.
class OutputWindow final : public OutputSurface {
public:
    /// Opens on the display at once, without taking the focus from anyone.
    OutputWindow(const ConnectedDisplay& display, std::unique_ptr<OutputView> content);
    ~OutputWindow() override;

    void cover(const ConnectedDisplay& display) override;

private:
    std::unique_ptr<OutputView> m_view;
};
