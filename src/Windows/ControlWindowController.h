#pragma once

#include "Views/ControlPanelView.h"

#include <QMenuBar>
#include <QTimer>
#include <QVariantAnimation>

#include <functional>
#include <vector>

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

    /// Does what the operator need not wait for, at once or when the console is on the screen. One
    /// that is nowhere to be seen a second after showWindow() counts as shown.
    void afterShowing(std::function<void()> action);

    [[nodiscard]] QWidget& window() { return *m_window; }

    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void applySizes(const ConsoleHeights& heights);
    void dock();
    void didShow();
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
    bool m_isShown = false;
    /// Until the window counts as shown.
    QTimer m_showing;
    std::vector<std::function<void()>> m_afterShowing;
    QMenuBar* m_menuBar = nullptr;
    /// What the window's content should be high.
    int m_contentHeight = 0;
    QVariantAnimation m_animation;
};
