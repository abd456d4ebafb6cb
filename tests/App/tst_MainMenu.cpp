#include "App/MainMenu.h"

#include <QApplication>
#include <QClipboard>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>
#include <QTextBrowser>
#include <QVBoxLayout>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

/// The menu with that title, or the item of any.
QAction& find(const QMenuBar& bar, const QString& title)
{
    QList<QAction*> all = bar.actions();
    for (const QAction* menu : bar.actions())
        all += menu->menu()->actions();
    const auto found =
        std::ranges::find_if(all, [&](const QAction* each) { return each->text() == title; });
    if (found == all.end())
        qFatal("no %s", qUtf8Printable(title));
    return **found;
}

/// "Undo Ctrl+Z", "-".
QStringList itemsOf(const QMenu& menu)
{
    QStringList items;
    for (const QAction* action : menu.actions()) {
        const QString keys = action->shortcut().toString(QKeySequence::PortableText);
        items.append(action->isSeparator() ? u"-"_s : (action->text() + u' ' + keys).trimmed());
    }
    return items;
}

} // namespace

class MainMenuTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setApplicationName(u"Tarrow"_s); }
    void hasItsItems();
    void callsItsTargetsFromEveryWindow();
    void offersWhatTheFieldCanDo_data();
    void offersWhatTheFieldCanDo();
    void editsTheField();
    void listsTheWindows();
    void hidesShowsAndZoomsTheWindows();
    void tellsAboutTheProgramOnce();

private:
    struct Stage {
        QStringList called;
        QWidget console;
        QLineEdit* field = new QLineEdit(&console);
        MainMenu* menu = new MainMenu({
            .checkForUpdates = [this] { called.append(u"update"_s); },
            .openHelp = [this] { called.append(u"help"_s); },
        });

        Stage()
        {
            console.setWindowTitle(u"Console"_s);
            auto* layout = new QVBoxLayout(&console);
            layout->setMenuBar(menu);
            layout->addWidget(field);
            console.show();
            console.activateWindow();
            field->setFocus();
        }

        [[nodiscard]] bool isReady() { return QTest::qWaitForWindowActive(&console); }

        /// The titles of the enabled items after the menu has been opened.
        [[nodiscard]] QStringList enabledItems(const QString& title) const
        {
            QMenu& opened = *find(*menu, title).menu();
            opened.popup({});
            QStringList items;
            for (const QAction* action : opened.actions()) {
                if (action->isEnabled() && !action->isSeparator())
                    items.append(action->text());
            }
            opened.close();
            return items;
        }

        void trigger(const QString& item) const { find(*menu, item).trigger(); }
    };
};

void MainMenuTest::hasItsItems()
{
    const MainMenu bar({});
    QStringList titles;
    for (const QAction* action : bar.actions())
        titles.append(action->text() + u": "_s + itemsOf(*action->menu()).join(u", "_s));
    QCOMPARE(titles,
        (QStringList {
            u"Tarrow: About Tarrow, Check for Updates…, -, Hide Tarrow Ctrl+H, "
            "Hide Others Ctrl+Alt+H, Show All, -, Quit Tarrow Ctrl+Q"_s,
            u"Edit: Undo Ctrl+Z, Redo Ctrl+Shift+Z, -, Cut Ctrl+X, Copy Ctrl+C, Paste Ctrl+V, "
            "Select All Ctrl+A"_s,
            u"Window: Minimize Ctrl+M, Zoom"_s,
            u"Help: Tarrow Help Ctrl+?"_s,
        }));
    QVERIFY(!find(bar, u"Hide Others"_s).isEnabled());
}

void MainMenuTest::callsItsTargetsFromEveryWindow()
{
    Stage stage;
    QVERIFY(stage.isReady());
    stage.trigger(u"Check for Updates…"_s);
    QWidget other;
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    QTest::keyClick(&other, Qt::Key_Question, Qt::ControlModifier);
    QCOMPARE(stage.called, (QStringList {u"update"_s, u"help"_s}));
}

void MainMenuTest::offersWhatTheFieldCanDo_data()
{
    QTest::addColumn<QWidget*>("widget");
    QTest::addColumn<QString>("offered");

    auto* selected = new QLineEdit(u"12"_s);
    selected->selectAll();
    auto* readOnly = new QLineEdit(u"12"_s);
    readOnly->setReadOnly(true);
    readOnly->selectAll();
    auto* page = new QTextBrowser;
    page->setText(u"help"_s);
    page->selectAll();
    auto* address = new QLabel(u"http://10.0.0.1:8080"_s);
    address->setTextInteractionFlags(Qt::TextSelectableByMouse);
    address->setFocusPolicy(Qt::ClickFocus);
    address->setSelection(0, 4);

    const auto row = [](const char* name, QWidget* widget, const QString& offered) {
        QTest::newRow(name) << widget << offered;
    };
    row("empty field", new QLineEdit, u"Paste"_s);
    row("selected text", selected, u"Cut, Copy, Paste, Select All"_s);
    row("not for changing", readOnly, u"Copy, Select All"_s);
    row("page", page, u"Copy, Select All"_s);
    row("address", address, u"Copy, Select All"_s);
    row("button", new QPushButton, {});
}

void MainMenuTest::offersWhatTheFieldCanDo()
{
    QFETCH(QWidget*, widget);
    QFETCH(QString, offered);

    QGuiApplication::clipboard()->setText(u"7"_s);
    Stage stage;
    QVERIFY(stage.isReady());
    stage.console.layout()->addWidget(widget);
    widget->show();
    // Not by the keyboard, which would select the text.
    widget->setFocus(Qt::OtherFocusReason);
    QCOMPARE(stage.enabledItems(u"Edit"_s).join(u", "_s), offered);
}

/// Also when the menu itself has taken the focus. An item that is not offered does nothing.
void MainMenuTest::editsTheField()
{
    Stage stage;
    QVERIFY(stage.isReady());
    QTest::keyClicks(stage.field, u"12"_s);
    stage.menu->setFocus();
    QStringList texts;
    for (const QString& item :
        {u"Redo"_s, u"Select All"_s, u"Cut"_s, u"Paste"_s, u"Paste"_s, u"Undo"_s, u"Redo"_s}) {
        (void)stage.enabledItems(u"Edit"_s);
        stage.trigger(item);
        texts.append(stage.field->text());
    }
    QCOMPARE(
        texts, (QStringList {u"12"_s, u"12"_s, u""_s, u"12"_s, u"1212"_s, u"12"_s, u"1212"_s}));
}

void MainMenuTest::listsTheWindows()
{
    Stage stage;
    QVERIFY(stage.isReady());
    QWidget help;
    help.setWindowTitle(u"A & B"_s);
    help.showMinimized();
    QWidget output(nullptr, Qt::Window | Qt::WindowDoesNotAcceptFocus);
    output.setWindowTitle(u"Output"_s);
    output.show();
    QDialog alert;
    alert.setWindowTitle(u"Alert"_s);
    alert.show();
    stage.console.activateWindow();
    QVERIFY(stage.isReady());

    const QStringList items {u"Minimize"_s, u"Zoom"_s, u"A && B"_s, u"Console"_s};
    QCOMPARE(stage.enabledItems(u"Window"_s), items);
    // Not one more each time.
    QCOMPARE(stage.enabledItems(u"Window"_s), items);
    QVERIFY(find(*stage.menu, u"Console"_s).isChecked());
    QVERIFY(!find(*stage.menu, u"A && B"_s).isChecked());
    stage.trigger(u"A && B"_s);
    QVERIFY(!help.isMinimized());
    QVERIFY(QTest::qWaitForWindowActive(&help));
}

void MainMenuTest::hidesShowsAndZoomsTheWindows()
{
    Stage stage;
    QVERIFY(stage.isReady());
    QWidget output(nullptr, Qt::Window | Qt::WindowDoesNotAcceptFocus);
    output.show();
    stage.trigger(u"Hide Tarrow"_s);
    QVERIFY(stage.console.isMinimized());
    QVERIFY(!output.isMinimized());
    stage.trigger(u"Show All"_s);
    QVERIFY(!stage.console.isMinimized());
    stage.trigger(u"Zoom"_s);
    QVERIFY(stage.console.isMaximized());
    stage.trigger(u"Zoom"_s);
    QVERIFY(!stage.console.isMaximized());
    stage.console.setFixedSize(stage.console.size());
    QCOMPARE(stage.enabledItems(u"Window"_s), (QStringList {u"Minimize"_s, u"Console"_s}));
    stage.trigger(u"Minimize"_s);
    QVERIFY(stage.console.isMinimized());
}

void MainMenuTest::tellsAboutTheProgramOnce()
{
    QApplication::setApplicationVersion(u"1.9"_s);
    Stage stage;
    stage.trigger(u"About Tarrow"_s);
    stage.trigger(u"About Tarrow"_s);
    const auto boxes = stage.menu->findChildren<QMessageBox*>();
    QCOMPARE(boxes.size(), 1);
    QVERIFY(boxes.first()->isVisible());
    QVERIFY(!boxes.first()->isModal());
    QCOMPARE(boxes.first()->informativeText(), u"Version 1.9"_s);
}

QTEST_MAIN(MainMenuTest)
#include "tst_MainMenu.moc"
