#include "App/MainMenu.h"

#include "App/EditCommands.h"

#include <QApplication>
#include <QWindow>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The windows that an operator works with, by their titles: no pictures for the audience, no
/// dialogs, no menus.
QWidgetList openWindows()
{
    QWidgetList windows = QApplication::topLevelWidgets();
    windows.removeIf([](const QWidget* widget) {
        return !widget->isVisible() || widget->windowType() != Qt::Window
            || widget->windowFlags().testFlag(Qt::WindowDoesNotAcceptFocus);
    });
    std::ranges::sort(windows, [](const QWidget* a, const QWidget* b) {
        return a->windowTitle().localeAwareCompare(b->windowTitle()) < 0;
    });
    return windows;
}

/// Null when none of the program's own has the focus.
QWidget* activeWindow()
{
    const QWidgetList windows = openWindows();
    QWidget* active = QApplication::activeWindow();
    return windows.contains(active) ? active : nullptr;
}

bool canZoom(const QWidget& window)
{
    return window.minimumSize() != window.maximumSize();
}

void zoom(QWidget& window)
{
    window.setWindowState(window.windowState() ^ Qt::WindowMaximized);
}

void unhide(QWidget& window)
{
    window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
}

void bringToFront(QWidget& window)
{
    unhide(window);
    window.raise();
    window.activateWindow();
}

/// With every "&" standing for itself.
QString menuTitle(QString text)
{
    return text.replace(u'&', u"&&"_s);
}

} // namespace

MainMenu::MainMenu(const Targets& targets)
{
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (now && !qobject_cast<QMenuBar*>(now) && !qobject_cast<QMenu*>(now))
            m_focused = now;
    });
    addApplicationMenu(targets);
    addEditMenu();
    addWindowMenu();
    addHelpMenu(targets);
}

QMenu& MainMenu::addOwnMenu(const QString& title)
{
    QMenu& menu = *addMenu(title);
    // A menu that has once been open is a window for ever, and would get every new live icon.
    menu.setAttribute(Qt::WA_SetWindowIcon);
    return menu;
}

QAction* MainMenu::addItem(
    QMenu& menu, const QString& title, const QKeySequence& keys, std::function<void()> perform)
{
    QAction* item = menu.addAction(title, this, std::move(perform));
    item->setShortcut(keys);
    item->setShortcutContext(Qt::ApplicationShortcut);
    return item;
}

void MainMenu::addApplicationMenu(const Targets& targets)
{
    const QString name = QApplication::applicationName();
    QMenu& menu = addOwnMenu(name);
    addItem(menu, u"About "_s + name, {}, [this] { showAbout(); });
    addItem(menu, u"Check for Updates…"_s, {}, targets.checkForUpdates);
    menu.addSeparator();
    addItem(menu, u"Hide "_s + name, Qt::CTRL | Qt::Key_H, [] {
        for (QWidget* window : openWindows())
            window->showMinimized();
    });
    // No application has a say in the windows of others here.
    addItem(menu, u"Hide Others"_s, Qt::CTRL | Qt::ALT | Qt::Key_H, [] {})->setEnabled(false);
    addItem(menu, u"Show All"_s, {}, [] {
        for (QWidget* window : openWindows())
            unhide(*window);
    });
    menu.addSeparator();
    addItem(menu, u"Quit "_s + name, Qt::CTRL | Qt::Key_Q, &QApplication::quit)
        ->setMenuRole(QAction::QuitRole);
}

void MainMenu::addEditMenu()
{
    QMenu* menu = &addOwnMenu(u"Edit"_s);
    for (const EditCommand& command : editCommands()) {
        if (command.beginsGroup)
            menu->addSeparator();
        QAction* item = addItem(*menu, command.title, command.keys, [this, &command] {
            if (m_focused)
                performEdit(command, *m_focused);
        });
        const auto update = [this, item, &command] {
            item->setEnabled(editAbilities(m_focused).*command.isAble);
        };
        connect(menu, &QMenu::aboutToShow, item, update);
        update();
    }
}

void MainMenu::addWindowMenu()
{
    QMenu* menu = &addOwnMenu(u"Window"_s);
    QAction* minimize = addItem(*menu, u"Minimize"_s, Qt::CTRL | Qt::Key_M, [] {
        if (QWidget* window = activeWindow())
            window->showMinimized();
    });
    QAction* zoomItem = addItem(*menu, u"Zoom"_s, {}, [] {
        if (QWidget* window = activeWindow(); window && canZoom(*window))
            zoom(*window);
    });
    connect(menu, &QMenu::aboutToShow, this, [this, menu, minimize, zoomItem] {
        const QWidget* window = activeWindow();
        minimize->setEnabled(window);
        zoomItem->setEnabled(window && canZoom(*window));
        listWindows(*menu);
    });
    // Its keys work whatever was the case when the menu showed last.
    connect(menu, &QMenu::aboutToHide, minimize, [minimize] { minimize->setEnabled(true); });
}

void MainMenu::listWindows(QMenu& menu)
{
    m_windowItems.clear();
    const auto add = [this, &menu](const QString& title) -> QAction& {
        m_windowItems.push_back(std::make_unique<QAction>(title));
        menu.addAction(m_windowItems.back().get());
        return *m_windowItems.back();
    };
    for (QWidget* window : openWindows()) {
        if (m_windowItems.empty())
            add({}).setSeparator(true);
        QAction& item = add(menuTitle(window->windowTitle()));
        item.setCheckable(true);
        item.setChecked(window->isActiveWindow());
        connect(&item, &QAction::triggered, window, [window] { bringToFront(*window); });
    }
}

void MainMenu::addHelpMenu(const Targets& targets)
{
    addItem(addOwnMenu(u"Help"_s), QApplication::applicationName() + u" Help"_s,
        Qt::CTRL | Qt::Key_Question, targets.openHelp);
}

void MainMenu::showAbout()
{
    if (!m_about) {
        m_about = new QMessageBox(this);
        m_about->setAttribute(Qt::WA_DeleteOnClose);
        m_about->setWindowModality(Qt::NonModal);
        m_about->setWindowTitle(u"About "_s + QApplication::applicationName());
        m_about->setIconPixmap(QApplication::windowIcon().pixmap(QSize(64, 64)));
        m_about->setText(QApplication::applicationName());
        m_about->setInformativeText(u"Version "_s + QApplication::applicationVersion());
        m_about->addButton(u"OK"_s, QMessageBox::AcceptRole);
    }
    m_about->show();
    bringToFront(*m_about);
}
