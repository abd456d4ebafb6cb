#pragma once

#include "Views/CueRowPicture.h"

#include <QAbstractScrollArea>
#include <QProperty>

#include <optional>

/// The cues of the running order as rows to click, walk and scroll. It draws what is in sight and
/// nothing else, and a change draws only the rows anew that look different after it.
///
/// It is one stop of the Tab key: Up, Down, Page Up, Page Down, Home and End walk the rows, Left
/// and Right the buttons of a row, and Space presses one. The keyboard stays with its cue when
/// cues change places.
class CueRowsView final : public QAbstractScrollArea {
    Q_OBJECT

public:
    using Action = CueRowAction;

    /// `cues` must outlive the view.
    explicit CueRowsView(CueController& cues, QWidget* parent = nullptr);

    [[nodiscard]] qsizetype rowCount() const { return m_shown.cues.size(); }
    /// Nothing for a row that there is not.
    [[nodiscard]] std::optional<CueRow> row(qsizetype index) const { return m_shown.row(index); }
    /// Where a row and its buttons lie in the viewport, in sight or not.
    [[nodiscard]] QRect rowRect(qsizetype index) const;
    [[nodiscard]] QRect buttonRect(qsizetype index, Action action) const;
    /// The row at a height of the viewport; it may lie behind the last one.
    [[nodiscard]] qsizetype rowAt(int y) const;
    /// The row, and the button of it, that the keyboard is at.
    [[nodiscard]] qsizetype focusedRow() const { return m_focus.row; }
    [[nodiscard]] Action focusedAction() const { return m_focus.action; }

    /// Does what the button does; nothing for one that is not enabled or not there.
    void perform(qsizetype index, Action action);

    /// As high as its rows, up to a limit.
    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    /// A button of a row.
    struct Target {
        qsizetype row = 0;
        Action action = Action::start;

        bool operator==(const Target&) const = default;
    };
    /// What the rows are drawn from.
    struct Content {
        QList<Cue> cues;
        std::optional<qint64> currentIndex;

        [[nodiscard]] std::optional<CueRow> row(qsizetype index) const;
    };

    void followCues();
    void forgetPressOnAnotherCue(const QList<Cue>& before);
    void keepFocusWithItsCue(const QList<Cue>& before);
    void updateRow(qsizetype index);
    void updateScrollBar();
    void bringIntoView(qsizetype index);
    void moveFocus(const Target& target);
    void tellFocus();
    [[nodiscard]] std::optional<Target> targetAfter(int key) const;
    [[nodiscard]] std::optional<Target> targetAt(const QPoint& point) const;
    [[nodiscard]] std::optional<Action> actionOn(
        qsizetype index, const std::optional<Target>& target) const;
    void point(const std::optional<QPoint>& place);
    [[nodiscard]] QString toolTipAt(const QPoint& point) const;
    [[nodiscard]] int rowPitch() const;
    [[nodiscard]] int contentHeight() const;

    CueController& m_cues;
    Content m_shown;
    Target m_focus;
    /// The button under the pointer, and the one that was pressed and not let go yet.
    std::optional<Target> m_hovered;
    std::optional<Target> m_pressed;
    std::optional<QPoint> m_pointer;
    QPropertyNotifier m_cuesNotifier;
    QPropertyNotifier m_currentNotifier;
};
