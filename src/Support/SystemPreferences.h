#pragma once

#include "Support/Preferences.h"

#include <QMap>
#include <QSet>
#include <QVariant>

/// The preferences of the user who runs the program, in the platform's native place
/// ($XDG_CONFIG_HOME/quillfen/tarrow.conf), and nowhere else.
///
/// Every change replaces the file as a whole, so that a process killed at any moment, or a disk
/// that is full, leaves the old file or the new one. A file that cannot be written is told once on
/// the log; what it lacks is written with the next change. What others store in the file meanwhile
/// is kept; what they take out of it comes back.
class SystemPreferences final : public Preferences {
public:
    SystemPreferences();

    [[nodiscard]] std::optional<QByteArray> data(const QString& key) const override;
    void setData(const QString& key, const QByteArray& value) override;
    [[nodiscard]] std::optional<QString> text(const QString& key) const override;
    void setText(const QString& key, const QString& value) override;

    [[nodiscard]] QString fileName() const { return m_fileName; }

private:
    void store(const QString& key, const QVariant& value);
    [[nodiscard]] bool read();
    [[nodiscard]] bool write();

    QString m_fileName;
    /// What the file held when it was last seen.
    QByteArray m_document;
    /// The same by keys; but those that are unwritten, as they are to be.
    QMap<QString, QVariant> m_values;
    QSet<QString> m_unwritten;
    bool m_isFailing = false;
};
