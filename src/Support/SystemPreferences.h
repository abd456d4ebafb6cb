#pragma once

#include "Support/Preferences.h"

#include <QSettings>

#include <memory>

/// The preferences of the user who runs the program, in the platform's native place
/// ($XDG_CONFIG_HOME/quillfen/tarrow.conf), and nowhere else.
///
/// Every change replaces the file as a whole, so that a process killed at any moment leaves the
/// old file or the new one. A file that cannot be written is told once on the log, and tried
/// again with the next change.
class SystemPreferences final : public Preferences {
public:
    SystemPreferences();

    [[nodiscard]] std::optional<QByteArray> data(const QString& key) const override;
    void setData(const QString& key, const QByteArray& value) override;
    [[nodiscard]] std::optional<QString> text(const QString& key) const override;
    void setText(const QString& key, const QString& value) override;

    [[nodiscard]] QString fileName() const;

private:
    void store(const QString& key, const QVariant& value);

    std::unique_ptr<QSettings> m_settings;
    bool m_isFailing = false;
};
