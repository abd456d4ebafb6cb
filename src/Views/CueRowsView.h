#pragma once

#include "Model/CueList.h"

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
    enum class Action { start, moveUp, moveDown, remove };
    static constexpr int actionCount = 4;

    /// `cues` must outlive the view.
    explicit CueRowsView(CueController& cues, QWidget* parent = nullptr);

    [[nodiscard]] qsizetype rowCount() const { return m_shown.cues.size(); }
    /// What a row says, in words.
    [[nodiscard]] QString description(qsizetype row) const;
    /// Where a row and its buttons lie in the viewport, in sight or not.
    [[nodiscard]] QRect rowRect(qsizetype row) const;
    [[nodiscard]] QRect buttonRect(qsizetype row, Action action) const;
    /// No row moves up at the top, nor down at the bottom.
    [[nodiscard]] bool isEnabled(qsizetype row, Action action) const;
    /// Does what the button does; nothing for a button that is not enabled or a row that is gone.
    void perform(qsizetype row, Action action);
    /// The row that the keyboard is in.
    [[nodiscard]] qsizetype focusedRow() const { return m_focus.row; }

    [[nodiscard]] static QString actionName(Action action);

    /// As high as its rows, up to a limit.
    [[nodiscard]] QSize sizeHint() const override;

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
    struct Target {
        qsizetype row = 0;
        Action action = Action::start;

        bool operator==(const Target&) const = default;
    };
    /// What the rows are drawn from.
    struct Content {
        QList<Cue> cues;
        std::optional<qint64> currentIndex;

        [[nodiscard]] bool looksTheSame(const Content& other, qsizetype row) const;
    };

    void followCues();
    void keepFocusWithItsCue(const QList<Cue>& before);
    void updateRow(qsizetype row);
    void updateScrollBar();
    void bringIntoView(qsizetype row);
    void moveFocus(const Target& target);
    void press();
    [[nodiscard]] bool walk(int key);
    [[nodiscard]] qsizetype rowAt(int y) const;
    [[nodiscard]] std::optional<Target> targetAt(const QPoint& point) const;
    void point(const std::optional<QPoint>& place);
    [[nodiscard]] QString toolTipAt(const QPoint& point) const;
    [[nodiscard]] int rowHeight() const;
    [[nodiscard]] int rowPitch() const;
    [[nodiscard]] int contentHeight() const;
    [[nodiscard]] QRect titleRect(qsizetype row) const;
    [[nodiscard]] QFont titleFont(qsizetype row) const;
    void paintRow(QPainter& painter, qsizetype row) const;
    void paintTexts(QPainter& painter, qsizetype row) const;
    void paintButton(QPainter& painter, const Target& target) const;

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
