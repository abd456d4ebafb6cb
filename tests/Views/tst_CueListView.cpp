#include "Views/CueListView.h"
#include "Views/CueRowsView.h"

#include "helpers/Console.h"
#include "helpers/Hand.h"
#include "helpers/PaintWatch.h"

#include <QAccessible>
#include <QFileDialog>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QVBoxLayout>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

using Action = CueRowsView::Action;

namespace {

/// The editor in a window as wide as the console's, with a running order "A B C …" of cues of 10,
/// 20, 30 … seconds.
struct Editor : Console {
    QWidget window;
    CueListView view {cues, settings, &window};
    CueRowsView& rows {*view.findChild<CueRowsView*>()};

    explicit Editor(int count)
    {
        QList<Cue> list;
        for (int i = 0; i < count; ++i)
            list.append({QUuid::createUuid(), QString(QChar('A' + i % 26)), qint64 {10} * (i + 1)});
        cues.cues = list;
        auto* column = new QVBoxLayout(&window);
        column->addWidget(&view);
        column->addStretch();
        window.setFixedWidth(340);
        activate(window);
    }

    /// The titles, with a star before the current one.
    [[nodiscard]] QString list() const
    {
        QStringList titles;
        for (qsizetype i = 0; i < cues.cues.value().size(); ++i)
            titles.append((i == cues.currentIndex() ? u"*"_s : u""_s) + cues.cues.value()[i].title);
        return titles.join(u' ');
    }

    /// What the operator and others do: "request argument…; …".
    void play(const QString& script)
    {
        for (const QString& step : script.split(u"; "_s))
            carryOut(step.split(u' '));
    }

    void carryOut(const QStringList& words)
    {
        static const QStringList actions {u"start"_s, u"up"_s, u"down"_s, u"remove"_s};
        QWidget* viewport = rows.viewport();
        const int row = words.value(1).toInt();
        const auto action = static_cast<Action>(actions.indexOf(words.value(2)));
        const QPoint place = rows.buttonRect(row, action).center();
        const Qt::Key key = QKeySequence::fromString(words.value(1))[0].key();
        const auto rename = [&] {
            QList<Cue> list = cues.cues;
            list[row].title += u'x';
            cues.cues = list;
        };
        const QMap<QString, std::function<void()>> requests {
            {u"click"_s, [&] { QTest::mouseClick(viewport, Qt::LeftButton, {}, place); }},
            {u"again"_s, [&] { QTest::mouseDClick(viewport, Qt::LeftButton, {}, place); }},
            {u"press"_s, [&] { QTest::mousePress(viewport, Qt::LeftButton, {}, place); }},
            {u"release"_s, [&] { QTest::mouseRelease(viewport, Qt::LeftButton, {}, place); }},
            {u"key"_s, [&] { QTest::keyClick(&rows, key); }},
            {u"hold"_s, [&] { repeatKey(rows, key); }},
            {u"push"_s, [&] { push(words[1]); }},
            {u"select"_s, [&] { cues.select(row); }},
            {u"rename"_s, rename},
            {u"move"_s, [&] { cues.move(row, words[2].toInt()); }},
            {u"remove"_s, [&] { cues.remove(row); }},
            {u"add"_s, [&] { cues.add(u"New"_s, 1); }},
            {u"clear"_s, [&] { cues.cues = QList<Cue>(); }},
            {u"hide"_s, [&] { view.hide(); }},
            {u"show"_s, [&] { view.show(); }},
        };
        requests[words.first()]();
    }

    void push(const QString& name) const
    {
        QTest::mouseClick(&buttonCalled(window, name), Qt::LeftButton);
    }

    /// What the button opens.
    template <typename Dialog> Dialog* open(const QString& text)
    {
        push(text);
        auto* dialog = view.findChild<Dialog*>();
        return dialog != nullptr && QTest::qWaitForWindowExposed(dialog) ? dialog : nullptr;
    }
};

/// Presses Return on the path, and answers when the panel asks whether to write over a file; for
/// no path, cancels the panel.
void answer(QFileDialog* panel, const QString& path)
{
    if (path.isEmpty())
        return panel->reject();
    panel->findChild<QLineEdit*>()->setText(path);
    QTimer::singleShot(0, panel, [panel] {
        if (auto* question = panel->findChild<QMessageBox*>())
            question->button(QMessageBox::Yes)->click();
    });
    QTest::keyClick(panel, Qt::Key_Return);
}

bool writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

class CueListViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { QApplication::setAttribute(Qt::AA_DontUseNativeDialogs); }

    /// Starts with A current; what is started is marked with its time.
    void rows_data()
    {
        QTest::addColumn<QString>("list");
        QTest::newRow("click 1 start") << "A *B C D 00:20";
        QTest::newRow("click 1 up") << "B *A C D";
        QTest::newRow("click 1 down") << "*A C B D";
        QTest::newRow("click 0 remove") << "B C D";
        QTest::newRow("click 0 up; click 3 down") << "*A B C D";
        QTest::newRow("press 1 remove; release 2 remove") << "*A B C D";
        QTest::newRow("click 0 down; again 0 down; release 0 down") << "*A B C D";
        // A cue that takes the place of the pressed one is not what was meant.
        QTest::newRow("press 1 start; remove 0; release 1 start") << "B C D";
        QTest::newRow("press 3 start; remove 0; release 3 start") << "B C D";

        QTest::newRow("key Down; key Space") << "A *B C D 00:20";
        QTest::newRow("key Up; key Left; key Space") << "*A B C D 00:10";
        QTest::newRow("key End; key Right; key Space; key Space") << "*A D B C";
        QTest::newRow("key End; key Right; key Right; key Right; key Right; key Space; key Space")
            << "*A B";
        QTest::newRow("key Return; hold Space") << "*A B C D";
        // The keyboard stays with its cue.
        QTest::newRow("key Down; move 0 1; key Space") << "*B A C D 00:20";
        QTest::newRow("key Down; remove 0; key Space") << "*B C D 00:20";
        QTest::newRow("click 2 remove; key Left; key Left; key Left; key Space") << "A B *D 00:40";

        QTest::newRow("push Next; push Next; push Prev") << "A *B C D";
    }
    void rows()
    {
        QFETCH(const QString, list);
        Editor editor(4);
        editor.cues.select(0);
        editor.rows.setFocus(Qt::TabFocusReason);
        editor.play(QString::fromLatin1(QTest::currentDataTag()));
        const QString time = editor.engine.snapshot.value().timeText;
        const bool isRunning = editor.engine.phase == TimerEngine::Phase::running;
        QCOMPARE(editor.list() + (isRunning ? u' ' + time : QString()), list);
    }

    void adds_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<QString>("minutes");
        QTest::addColumn<QString>("added");
        const auto row = [](const char* title, const char* minutes, const char* added) {
            QTest::addRow("%s, %s", title, minutes) << title << minutes << added;
        };
        row("Welcome", "5", "Welcome 300");
        row(" Welcome ", "0.25", "Welcome 15");
        row("Break", "5,5", "Break 0");
        row("", "5", "Cue 2 300");
        row("\u2003\u00a0", "0", nullptr);
        row("", "nan", nullptr);
    }
    void adds()
    {
        QFETCH(const QString, title);
        QFETCH(const QString, minutes);
        QFETCH(const QString, added);
        Editor editor(1);
        const QShortcut shortcut(Qt::Key_Return, &editor.window);
        const QSignalSpy shortcuts(&shortcut, &QShortcut::activated);
        QLineEdit& titleField = fieldWithPlaceholder(editor.window, u"Cue title"_s);
        QLineEdit& minutesField = fieldWithPlaceholder(editor.window, u"Min"_s);
        const std::function<void()> ways[] {
            [&] { editor.push(u"Add"_s); },
            [&] { QTest::keyClick(&titleField, Qt::Key_Return); },
            [&] { QTest::keyClick(&minutesField, Qt::Key_Return); },
        };
        for (const auto& add : ways) {
            titleField.setText(title);
            minutesField.setText(minutes);
            add();
            const Cue last = editor.cues.cues.value().last();
            const QString text = u"%1 %2"_s.arg(last.title).arg(last.seconds);
            QCOMPARE(text, added.isNull() ? u"A 10"_s : added);
            QCOMPARE(titleField.text(), added.isNull() ? title : QString());
            QCOMPARE(minutesField.text(), added.isNull() ? minutes : QString());
            if (!added.isNull())
                editor.cues.remove(1);
        }
        QCOMPARE(shortcuts.count(), 0);
    }

    void asksBeforeItClears_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::addColumn<bool>("clears");
        QTest::newRow("Return on Clear All") << Qt::Key_Return << false;
        QTest::newRow("Escape") << Qt::Key_Escape << false;
        QTest::newRow("Clear All") << Qt::Key_Space << true;
    }
    void asksBeforeItClears()
    {
        QFETCH(const Qt::Key, key);
        QFETCH(const bool, clears);
        Editor editor(12);
        editor.cues.load(0);
        auto* alert = editor.open<QMessageBox>(u"Clear All"_s);
        QVERIFY(alert);
        QCOMPARE(alert->informativeText(), u"This removes all 12 cues and can’t be undone."_s);
        QCOMPARE(alert->windowModality(), Qt::WindowModal);
        buttonCalled(*alert, u"Clear All"_s).setFocus();
        QTest::keyClick(alert->focusWidget(), key);
        QVERIFY(!alert->isVisible());
        QCOMPARE(editor.cues.cues.value().size(), clears ? 0 : 12);
        QCOMPARE(editor.engine.phase.value(), TimerEngine::Phase::running);
    }

    void savesAndImports_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QString>("list");
        const auto row = [](const char* button, const char* name, const char* written,
                             const char* list) {
            QTest::addRow("%s %s", button, name) << button << name << written << list;
        };
        row("Save…", "Show 24.11", "Show 24.11.trcue", "A B C D");
        row("Save…", "old.trcue", "old.trcue", "A B C D");
        row("Save…", "pipe.trcue", "", "A B C D");
        row("Save…", "", "", "A B C D");
        row("Import…", "show.trcue", "", "");
        row("Import…", "text.trcue", "", "A B C D");
        row("Import…", "large.trcue", "", "A B C D");
        row("Import…", "pipe.trcue", "", "A B C D");
        row("Import…", "", "", "A B C D");
    }
    void savesAndImports()
    {
        QFETCH(const QString, button);
        QFETCH(const QString, name);
        QFETCH(const QString, written);
        QFETCH(const QString, list);
        const QTemporaryDir folder;
        const QByteArray document = R"({"cues":[],"format":"TarrowCues","version":1})";
        QVERIFY(writeFile(folder.filePath(u"show.trcue"_s), document));
        QVERIFY(writeFile(folder.filePath(u"text.trcue"_s), "Friday"));
        QVERIFY(writeFile(folder.filePath(u"large.trcue"_s), document + QByteArray(17 << 20, ' ')));
        QVERIFY(writeFile(folder.filePath(u"old.trcue"_s), QByteArray(100'000, 'x')));
        QCOMPARE(mkfifo(qPrintable(folder.filePath(u"pipe.trcue"_s)), 0600), 0);
        Editor editor(3);
        auto* panel = editor.open<QFileDialog>(button);
        QVERIFY(panel);
        QCOMPARE(panel->windowModality(), Qt::WindowModal);
        // What is saved is what there is when the operator has decided.
        editor.cues.add(u"D"_s, 1);
        answer(panel, name.isEmpty() ? name : folder.filePath(name));
        QVERIFY(!panel->isVisible());
        QCOMPARE(editor.list(), list);
        if (!written.isEmpty())
            QCOMPARE(readFile(folder.filePath(written)), editor.cues.exportData());
    }

    void repaintsWhatChanged_data()
    {
        QTest::addColumn<QList<int>>("rows");
        QTest::newRow("select 1") << QList<int> {0, 1};
        QTest::newRow("rename 400") << QList<int>();
        QTest::newRow("move 2 1") << QList<int> {2, 3};
        QTest::newRow("remove 4") << QList<int> {4, 5, 6};
    }
    void repaintsWhatChanged()
    {
        QFETCH(const QList<int>, rows);
        Editor editor(500);
        editor.cues.select(0);
        QCoreApplication::processEvents();
        PaintWatch watch(*editor.rows.viewport());
        QRegion expected;
        for (const int row : rows)
            expected += editor.rows.rowRect(row) & editor.rows.viewport()->rect();
        editor.play(QString::fromLatin1(QTest::currentDataTag()));
        QCoreApplication::processEvents();
        QCOMPARE(watch.painted, expected);
    }

    /// Starts a hundred rows down, with the current cue out of sight.
    void scrolls_data()
    {
        QTest::addColumn<int>("firstRow");
        QTest::newRow("rename 50; move 50 1") << 100;
        QTest::newRow("select 51") << 51;
        QTest::newRow("hide; select 51; show") << 51;
        QTest::newRow("key Home") << 0;
        QTest::newRow("clear; add") << 0;
    }
    void scrolls()
    {
        QFETCH(const int, firstRow);
        Editor editor(500);
        editor.cues.select(50);
        const int pitch = editor.rows.rowRect(1).top() - editor.rows.rowRect(0).top();
        editor.rows.verticalScrollBar()->setValue(100 * pitch);
        editor.play(QString::fromLatin1(QTest::currentDataTag()));
        QCoreApplication::processEvents();
        QCOMPARE(editor.rows.verticalScrollBar()->value(), firstRow * pitch);
    }

    void screenReadersSeeRows()
    {
        Editor editor(3);
        editor.cues.select(1);
        auto* list = QAccessible::queryAccessibleInterface(&editor.rows);
        QCOMPARE(list->childCount(), 3);
        QCOMPARE(list->child(0)->text(QAccessible::Name), u"A, 00:10"_s);
        QCOMPARE(list->child(1)->text(QAccessible::Name), u"B, 00:20, current cue"_s);
        fieldWithPlaceholder(editor.window, u"Min"_s).setFocus();
        QVERIFY(!list->focusChild());
        editor.rows.setFocus(Qt::TabFocusReason);
        editor.play(u"key Down; key Right"_s);
        QAccessibleInterface* row = list->focusChild();
        QCOMPARE(list->indexOfChild(row), 1);
        QCOMPARE(row->text(QAccessible::Description), u"Move up"_s);
        list->child(2)->actionInterface()->doAction(u"Delete"_s);
        QCOMPARE(list->childCount(), 2);
        QVERIFY(!list->child(2));
    }
};

QTEST_MAIN(CueListViewTest)
#include "tst_CueListView.moc"
