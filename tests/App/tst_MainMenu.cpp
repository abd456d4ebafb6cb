#include "App/MainMenu.h"

#include "helpers/Hand.h"

#include <QClipboard>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
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

    void hasItsItems()
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
    }

    void callsItsTargets()
    {
        const Stage stage;
        stage.trigger(u"Check for Updates…"_s);
        stage.trigger(u"Tarrow Help"_s);
        QCOMPARE(stage.called, (QStringList {u"update"_s, u"help"_s}));
    }

    void offersWhatTheFocusCanDo()
    {
        QGuiApplication::clipboard()->setText(u"7"_s);
        Stage stage;
        const auto offered = [&] { return stage.enabledItems(u"Edit"_s).join(u", "_s); };
        QCOMPARE(offered(), u"Paste"_s);
        stage.field->setText(u"12"_s);
        stage.field->selectAll();
        QCOMPARE(offered(), u"Cut, Copy, Paste, Select All"_s);

        auto* address = new QLabel(u"http://10.0.0.1:8080"_s);
        stage.console.layout()->addWidget(address);
        address->setTextInteractionFlags(Qt::TextSelectableByMouse);
        address->setFocusPolicy(Qt::ClickFocus);
        address->setSelection(0, 4);
        address->show();
        // Not by the keyboard, which would select the text.
        address->setFocus(Qt::OtherFocusReason);
        QCOMPARE(offered(), u"Copy, Select All"_s);
    }

    /// Also when the menu itself has taken the focus. An item that is not offered does nothing.
    void editsTheField()
    {
        Stage stage;
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

    void hidesAndShowsTheWindows()
    {
        Stage stage;
        QWidget output(nullptr, Qt::Window | Qt::WindowDoesNotAcceptFocus);
        output.show();
        stage.trigger(u"Hide Tarrow"_s);
        QVERIFY(stage.console.isMinimized());
        QVERIFY(!output.isMinimized());
        stage.trigger(u"Show All"_s);
        QVERIFY(!stage.console.isMinimized());
    }

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
            activate(console);
            field->setFocus();
        }

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

QTEST_MAIN(MainMenuTest)
#include "tst_MainMenu.moc"
