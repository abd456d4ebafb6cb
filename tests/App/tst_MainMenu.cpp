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

using namespace Qt::StringLiterals;

namespace {

QMenu* menuOf(const QMenuBar& bar, const QString& title)
{
    for (const QAction* action : bar.actions()) {
        if (action->text() == title)
            return action->menu();
    }
    return nullptr;
}

QAction* itemOf(const QMenu& menu, const QString& title)
{
    for (QAction* action : menu.actions()) {
        if (action->text() == title)
            return action;
    }
    return nullptr;
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
    void hidesAndShowsTheWindows();
    void zoomsWhatCanBeZoomed();
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
            QMenu* opened = menuOf(*menu, title);
            opened->popup({});
            QStringList items;
            for (const QAction* action : opened->actions()) {
                if (action->isEnabled() && !action->isSeparator())
                    items.append(action->text());
            }
            opened->close();
            return items;
        }

        void trigger(const QString& title, const QString& item) const
        {
            itemOf(*menuOf(*menu, title), item)->trigger();
        }
    };
};

void MainMenuTest::hasItsItems()
{
    const MainMenu menu({});
    QStringList titles;
    for (const QAction* action : menu.actions())
        titles.append(action->text());
    QCOMPARE(titles, (QStringList {u"Tarrow"_s, u"Edit"_s, u"Window"_s, u"Help"_s}));
    QCOMPARE(itemsOf(*menuOf(menu, u"Tarrow"_s)),
        (QStringList {u"About Tarrow"_s, u"Check for Updates…"_s, u"-"_s, u"Hide Tarrow Ctrl+H"_s,
            u"Hide Others Ctrl+Alt+H"_s, u"Show All"_s, u"-"_s, u"Quit Tarrow Ctrl+Q"_s}));
    QCOMPARE(itemsOf(*menuOf(menu, u"Edit"_s)),
        (QStringList {u"Undo Ctrl+Z"_s, u"Redo Ctrl+Shift+Z"_s, u"-"_s, u"Cut Ctrl+X"_s,
            u"Copy Ctrl+C"_s, u"Paste Ctrl+V"_s, u"Select All Ctrl+A"_s}));
    QCOMPARE(itemsOf(*menuOf(menu, u"Window"_s)), (QStringList {u"Minimize Ctrl+M"_s, u"Zoom"_s}));
    QCOMPARE(itemsOf(*menuOf(menu, u"Help"_s)), QStringList {u"Tarrow Help Ctrl+?"_s});
    QVERIFY(!itemOf(*menuOf(menu, u"Tarrow"_s), u"Hide Others"_s)->isEnabled());
}

void MainMenuTest::callsItsTargetsFromEveryWindow()
{
    Stage stage;
    QVERIFY(stage.isReady());
    stage.trigger(u"Tarrow"_s, u"Check for Updates…"_s);
    QWidget other;
    other.show();
    other.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&other));
    QTest::keyClick(&other, Qt::Key_Question, Qt::ControlModifier);
    QCOMPARE(stage.called, (QStringList {u"update"_s, u"help"_s}));
}

void MainMenuTest::offersWhatTheFieldCanDo_data()
{
    QTest::addColumn<std::function<QWidget*()>>("make");
    QTest::addColumn<QStringList>("offered");

    const auto row = [](const char* name, const std::function<QWidget*()>& make,
                         const QStringList& offered) { QTest::newRow(name) << make << offered; };
    const auto selected = [] {
        auto* field = new QLineEdit(u"12"_s);
        field->selectAll();
        return field;
    };
    row("empty field", [] { return new QLineEdit; }, {u"Paste"_s});
    row("selected text", selected, {u"Cut"_s, u"Copy"_s, u"Paste"_s, u"Select All"_s});
    row("changed text",
        [] {
            auto* field = new QLineEdit;
            field->insert(u"12"_s);
            return field;
        },
        {u"Undo"_s, u"Paste"_s, u"Select All"_s});
    row("undone",
        [] {
            auto* field = new QLineEdit;
            field->insert(u"12"_s);
            field->undo();
            return field;
        },
        {u"Redo"_s, u"Paste"_s});
    row("not for changing",
        [selected] {
            auto* field = selected();
            field->setReadOnly(true);
            return field;
        },
        {u"Copy"_s, u"Select All"_s});
    row("page",
        [] {
            auto* page = new QTextBrowser;
            page->setText(u"help"_s);
            page->selectAll();
            return page;
        },
        {u"Copy"_s, u"Select All"_s});
    row("address",
        [] {
            auto* label = new QLabel(u"http://10.0.0.1:8080"_s);
            label->setTextInteractionFlags(Qt::TextSelectableByMouse);
            label->setFocusPolicy(Qt::ClickFocus);
            label->setSelection(0, 4);
            return label;
        },
        {u"Copy"_s, u"Select All"_s});
    row("button", [] { return new QPushButton; }, {});
}

void MainMenuTest::offersWhatTheFieldCanDo()
{
    QFETCH(std::function<QWidget*()>, make);
    QFETCH(QStringList, offered);

    QGuiApplication::clipboard()->setText(u"7"_s);
    Stage stage;
    QVERIFY(stage.isReady());
    QWidget* widget = make();
    stage.console.layout()->addWidget(widget);
    widget->show();
    // Not by the keyboard, which would select the text.
    widget->setFocus(Qt::OtherFocusReason);
    QCOMPARE(stage.enabledItems(u"Edit"_s), offered);
}

/// Also when the menu itself has taken the focus.
void MainMenuTest::editsTheField()
{
    Stage stage;
    QVERIFY(stage.isReady());
    QTest::keyClicks(stage.field, u"12"_s);
    stage.menu->setFocus();
    for (const QString& item : {u"Select All"_s, u"Cut"_s, u"Paste"_s, u"Paste"_s}) {
        (void)stage.enabledItems(u"Edit"_s);
        stage.trigger(u"Edit"_s, item);
    }
    QCOMPARE(stage.field->text(), u"1212"_s);
    (void)stage.enabledItems(u"Edit"_s);
    stage.trigger(u"Edit"_s, u"Undo"_s);
    QCOMPARE(stage.field->text(), u"12"_s);
    (void)stage.enabledItems(u"Edit"_s);
    stage.trigger(u"Edit"_s, u"Redo"_s);
    QCOMPARE(stage.field->text(), u"1212"_s);
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
    const QMenu& menu = *menuOf(*stage.menu, u"Window"_s);
    QVERIFY(itemOf(menu, u"Console"_s)->isChecked());
    QVERIFY(!itemOf(menu, u"A && B"_s)->isChecked());
    stage.trigger(u"Window"_s, u"A && B"_s);
    QVERIFY(!help.isMinimized());
    QVERIFY(QTest::qWaitForWindowActive(&help));
}

void MainMenuTest::hidesAndShowsTheWindows()
{
    Stage stage;
    QVERIFY(stage.isReady());
    QWidget output(nullptr, Qt::Window | Qt::WindowDoesNotAcceptFocus);
    output.show();
    stage.trigger(u"Tarrow"_s, u"Hide Tarrow"_s);
    QVERIFY(stage.console.isMinimized());
    QVERIFY(!output.isMinimized());
    stage.trigger(u"Tarrow"_s, u"Show All"_s);
    QVERIFY(!stage.console.isMinimized());
    stage.trigger(u"Window"_s, u"Minimize"_s);
    QVERIFY(stage.console.isMinimized());
}

void MainMenuTest::zoomsWhatCanBeZoomed()
{
    Stage stage;
    QVERIFY(stage.isReady());
    stage.trigger(u"Window"_s, u"Zoom"_s);
    QVERIFY(stage.console.isMaximized());
    stage.trigger(u"Window"_s, u"Zoom"_s);
    QVERIFY(!stage.console.isMaximized());
    stage.console.setFixedSize(stage.console.size());
    QCOMPARE(stage.enabledItems(u"Window"_s), (QStringList {u"Minimize"_s, u"Console"_s}));
}

void MainMenuTest::tellsAboutTheProgramOnce()
{
    QApplication::setApplicationVersion(u"1.9"_s);
    Stage stage;
    stage.trigger(u"Tarrow"_s, u"About Tarrow"_s);
    stage.trigger(u"Tarrow"_s, u"About Tarrow"_s);
    const auto boxes = stage.menu->findChildren<QMessageBox*>();
    QCOMPARE(boxes.size(), 1);
    QVERIFY(boxes.first()->isVisible());
    QVERIFY(!boxes.first()->isModal());
    QCOMPARE(boxes.first()->informativeText(), u"Version 1.9"_s);
}

QTEST_MAIN(MainMenuTest)
#include "tst_MainMenu.moc"
