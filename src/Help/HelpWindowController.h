#pragma once

#include "Support/Preferences.h"

#include <QWidget>

#include <memory>

/// The one window with the program's help. It follows the light or dark appearance of the desktop,
/// also while it is open.
class HelpWindowController {
public:
    /// Where `preferences`, which must outlive the controller, keep the window's size: "760x800",
    /// in points.
    static constexpr QStringView frameKey = u"TarrowHelpWindow";

    explicit HelpWindowController(Preferences& preferences);
    HelpWindowController(const HelpWindowController&) = delete;
    HelpWindowController& operator=(const HelpWindowController&) = delete;
    ~HelpWindowController();

    /// Shows the page from its top in the middle of the screen, as large as it was last; a window
    /// that is open already only comes to the front.
    void openHelp();

    /// Null while the window is closed.
    [[nodiscard]] QWidget* window() const { return m_window.get(); }

private:
    void windowWillClose();
    void storeSize();
    [[nodiscard]] QSize storedSize() const;

    Preferences& m_preferences;
    std::unique_ptr<QWidget> m_window;
};
