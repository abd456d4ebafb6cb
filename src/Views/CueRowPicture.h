#pragma once

#include "Model/CueList.h"

#include <QFont>
#include <QPainter>
#include <QPalette>

#include <array>
#include <optional>

/// One row of the running order: what it shows, and how it is drawn. Sizes are in points.

enum class CueRowAction { start, moveUp, moveDown, remove };

/// As the buttons stand from left to right.
inline constexpr std::array allCueRowActions {
    CueRowAction::start, CueRowAction::moveUp, CueRowAction::moveDown, CueRowAction::remove};

[[nodiscard]] QString actionName(CueRowAction action);

struct CueRow {
    Cue cue;
    bool isCurrent = false;
    bool isFirst = false;
    bool isLast = false;

    bool operator==(const CueRow&) const = default;

    /// No row moves up at the top, nor down at the bottom.
    [[nodiscard]] bool isEnabled(CueRowAction action) const;
    /// As much of the title as is shown anywhere.
    [[nodiscard]] QString title() const;
    /// In words.
    [[nodiscard]] QString description() const;
};

/// What the operator is about to do with a row: the button that the keyboard is at, that is under
/// the pointer, that is held down.
struct CueRowHandling {
    std::optional<CueRowAction> focused;
    std::optional<CueRowAction> hovered;
    std::optional<CueRowAction> pressed;
};

/// Draws rows in one font and palette.
class CueRowPicture {
public:
    CueRowPicture(const QFont& font, const QPalette& palette);

    [[nodiscard]] static int height(const QFont& font);
    /// Of a row that has the room `bounds`.
    [[nodiscard]] static QRect button(const QRect& bounds, CueRowAction action);
    [[nodiscard]] QRect title(const QRect& bounds, const CueRow& row) const;
    [[nodiscard]] bool isTitleCut(const QRect& bounds, const CueRow& row) const;

    void paint(QPainter& painter, const QRect& bounds, const CueRow& row,
        const CueRowHandling& handling) const;

private:
    [[nodiscard]] QFont titleFont(const CueRow& row) const;
    void paintIndicator(QPainter& painter, const QRect& bounds, const CueRow& row) const;
    void paintTexts(QPainter& painter, const QRect& bounds, const CueRow& row) const;
    void paintButton(QPainter& painter, const QRect& box, CueRowAction action, bool isEnabled,
        const CueRowHandling& handling) const;

    QFont m_font;
    QPalette m_palette;
};
