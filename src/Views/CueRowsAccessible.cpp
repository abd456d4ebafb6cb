#include "Views/CueRowsAccessible.h"

#include "Views/CueRowsView.h"

#include <QAccessibleWidget>
#include <QHash>

#include <memory>

namespace {

using Action = CueRowAction;

class RowAccessible final : public QAccessibleInterface, public QAccessibleActionInterface {
public:
    RowAccessible(CueRowsView& view, int row)
        : m_view(view)
        , m_row(row)
    {
    }

    [[nodiscard]] bool isValid() const override { return m_row < m_view.rowCount(); }
    [[nodiscard]] QObject* object() const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* parent() const override
    {
        return QAccessible::queryAccessibleInterface(&m_view);
    }
    [[nodiscard]] QAccessibleInterface* child(int) const override { return nullptr; }
    [[nodiscard]] QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    [[nodiscard]] QAccessible::Role role() const override { return QAccessible::ListItem; }
    void setText(QAccessible::Text, const QString&) override { }

    [[nodiscard]] QString text(QAccessible::Text kind) const override
    {
        const std::optional<CueRow> row = m_view.row(m_row);
        if (row && kind == QAccessible::Description && isFocused())
            return actionName(m_view.focusedAction());
        return row && kind == QAccessible::Name ? row->description() : QString();
    }

    [[nodiscard]] QRect rect() const override
    {
        const QRect inView = m_view.rowRect(m_row);
        return {m_view.viewport()->mapToGlobal(inView.topLeft()), inView.size()};
    }

    [[nodiscard]] QAccessible::State state() const override
    {
        QAccessible::State state;
        state.invalid = !isValid();
        state.focusable = true;
        state.focused = isFocused() && m_view.hasFocus();
        state.offscreen = !m_view.viewport()->rect().intersects(m_view.rowRect(m_row));
        return state;
    }

    void* interface_cast(QAccessible::InterfaceType type) override
    {
        return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface*>(this)
                                                    : nullptr;
    }

    [[nodiscard]] QStringList actionNames() const override
    {
        QStringList names;
        const std::optional<CueRow> row = m_view.row(m_row);
        for (const Action action : allCueRowActions) {
            if (row && row->isEnabled(action))
                names.append(actionName(action));
        }
        return names;
    }

    void doAction(const QString& name) override
    {
        for (const Action action : allCueRowActions) {
            if (actionName(action) == name)
                return m_view.perform(m_row, action);
        }
    }

    [[nodiscard]] QStringList keyBindingsForAction(const QString&) const override { return {}; }

private:
    [[nodiscard]] bool isFocused() const { return m_view.focusedRow() == m_row; }

    CueRowsView& m_view;
    int m_row;
};

/// The rows take the place of the viewport and the scroll bar, which say nothing.
class RowsAccessible final : public QAccessibleWidget {
public:
    explicit RowsAccessible(CueRowsView& view)
        : QAccessibleWidget(&view, QAccessible::List)
        , m_view(view)
    {
    }
    RowsAccessible(const RowsAccessible&) = delete;
    RowsAccessible& operator=(const RowsAccessible&) = delete;
    ~RowsAccessible() override
    {
        for (const QAccessible::Id id : m_rows)
            QAccessible::deleteAccessibleInterface(id);
    }

    [[nodiscard]] int childCount() const override { return static_cast<int>(m_view.rowCount()); }

    [[nodiscard]] QAccessibleInterface* child(int index) const override
    {
        if (index < 0 || index >= childCount())
            return nullptr;
        const auto known = m_rows.constFind(index);
        if (known != m_rows.cend())
            return QAccessible::accessibleInterface(*known);
        auto* row = std::make_unique<RowAccessible>(m_view, index).release();
        m_rows.insert(index, QAccessible::registerAccessibleInterface(row));
        return row;
    }

    [[nodiscard]] QAccessibleInterface* childAt(int x, int y) const override
    {
        const QPoint point = m_view.viewport()->mapFromGlobal(QPoint(x, y));
        return m_view.viewport()->rect().contains(point)
            ? child(static_cast<int>(m_view.rowAt(point.y())))
            : nullptr;
    }

    [[nodiscard]] int indexOfChild(const QAccessibleInterface* row) const override
    {
        return m_rows.key(QAccessible::uniqueId(const_cast<QAccessibleInterface*>(row)), -1);
    }

    [[nodiscard]] QAccessibleInterface* focusChild() const override
    {
        return m_view.hasFocus() ? child(static_cast<int>(m_view.focusedRow())) : nullptr;
    }

private:
    CueRowsView& m_view;
    /// Registered as they are asked for. The registry owns them, and forgets them with the list.
    mutable QHash<int, QAccessible::Id> m_rows;
};

QAccessibleInterface* makeInterface(const QString&, QObject* object)
{
    auto* view = qobject_cast<CueRowsView*>(object);
    return view != nullptr ? std::make_unique<RowsAccessible>(*view).release() : nullptr;
}

} // namespace

void makeCueRowsAccessible()
{
    QAccessible::installFactory(makeInterface);
}
