#pragma once

#include <QByteArray>
#include <QJsonDocument>
#include <QString>

#include <optional>

/// The user's preferences: values under text keys that outlive the program.
///
/// A value is stored when the setter returns. One that cannot be stored leaves what was stored
/// before as it was.
class Preferences {
public:
    Preferences() = default;
    Preferences(const Preferences&) = delete;
    Preferences& operator=(const Preferences&) = delete;
    virtual ~Preferences() = default;

    /// Nothing under the key, or something that is no byte string, is no value.
    [[nodiscard]] virtual std::optional<QByteArray> data(const QString& key) const = 0;
    virtual void setData(const QString& key, const QByteArray& value) = 0;

    [[nodiscard]] virtual std::optional<QString> text(const QString& key) const = 0;
    virtual void setText(const QString& key, const QString& value) = 0;

    /// Documents are kept as data, in compact JSON. What is no JSON is the null document.
    [[nodiscard]] QJsonDocument document(const QString& key) const;
    void setDocument(const QString& key, const QJsonDocument& value);

    /// Numbers and switches are kept as text and read back strictly: "true" and "false", and
    /// decimal digits with at most a minus sign. Anything else is no value.
    [[nodiscard]] std::optional<bool> boolean(const QString& key) const;
    void setBoolean(const QString& key, bool value);
    [[nodiscard]] std::optional<qint64> integer(const QString& key) const;
    void setInteger(const QString& key, qint64 value);
};
