#pragma once

#include "Views/ControlPanelView.h"

#include <QMenuBar>
#include <QVariantAnimation>

/// Owns the operator's window: of one width, docked to the top right of the main screen, and as
/// high as its panel needs. The operator may move it; closing it quits the program.
///
/// Where the window system places windows itself, the size alone follows the panel.
class ControlWindowController final : public QObject {
    Q_OBJECT

public:
    /// All models must outlive the controller.
    explicit ControlWindowController(const ControlPanelView::Models& models);
    ControlWindowController(const ControlWindowController&) = delete;
    ControlWindowController& operator=(const ControlWindowController&) = delete;
    ~ControlWindowController() override;

    /// Lays the menu bar above the panel where the desktop has no other place for it. It must
    /// outlive the controller, and remains its owner's.
    void setMenuBar(QMenuBar& menuBar);

    /// Sizes the window for its panel, docks it, and brings it to the front with the focus.
    void showWindow();

    [[nodiscard]] QWidget& window() { return *m_window; }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void applySizes(const ConsoleHeights& heights);
    void dock();
    void placeInDock();
    void animateTo(const QRect& frame);
    void applyFrame(const QRect& frame);
    void setAlwaysOnTop(bool isOnTop);
    [[nodiscard]] QMargins frameMargins() const;
    [[nodiscard]] QRect visibleArea() const;

    std::unique_ptr<QWidget> m_window;
    ControlPanelView* m_panel;
    bool m_hasSizedOnce = false;
    bool m_isInDock = false;
    QMenuBar* m_menuBar = nullptr;
    /// What the window's content should be high.
    int m_contentHeight = 0;
    QVariantAnimation m_animation;
};
