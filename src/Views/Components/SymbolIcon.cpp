#include "Views/Components/SymbolIcon.h"

#include "Support/Symbols.h"

#include <QGuiApplication>
#include <QIconEngine>
#include <QPalette>

#include <memory>

namespace {

class SymbolIconEngine final : public QIconEngine {
public:
    explicit SymbolIconEngine(const QString& name)
        : m_name(name)
    {
    }

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State) override
    {
        const auto group = mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        paintSymbol(
            *painter, m_name, rect, QGuiApplication::palette().color(group, QPalette::ButtonText));
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        QPixmap result(size);
        result.fill(Qt::transparent);
        QPainter painter(&result);
        paint(&painter, result.rect(), mode, state);
        return result;
    }

    [[nodiscard]] QIconEngine* clone() const override { return new SymbolIconEngine(*this); }

private:
    QString m_name;
};

} // namespace

QIcon symbolIcon(const QString& name)
{
    return QIcon(std::make_unique<SymbolIconEngine>(name).release());
}
