#pragma once

#include <QAction>
#include <QMenuBar>
#include <QMessageBox>
#include <QPointer>

#include <functional>
#include <memory>
#include <vector>

/// The application's menu bar: what every application has, and the program's update check and help.
/// The timer is driven elsewhere.
///
/// On a desktop with one menu bar for all it is there from its making on; elsewhere it shows where
/// a window takes it in. Its keys work in every window of the program.
class MainMenu final : public QMenuBar {
public:
    struct Targets {
        std::function<void()> checkForUpdates;
        std::function<void()> openHelp;
    };

    explicit MainMenu(const Targets& targets);

private:
    void addApplicationMenu(const Targets& targets);
    void addEditMenu();
    void addWindowMenu();
    void addHelpMenu(const Targets& targets);
    [[nodiscard]] QMenu& addOwnMenu(const QString& title);
    QAction* addItem(
        QMenu& menu, const QString& title, const QKeySequence& keys, std::function<void()> perform);
    void listWindows(QMenu& menu);
    void showAbout();

    /// What follows the fixed items of the Window menu, made anew whenever it shows.
    std::vector<std::unique_ptr<QAction>> m_windowItems;
    QPointer<QMessageBox> m_about;
    /// What had the focus last that is no menu.
    QPointer<QWidget> m_focused;
};
