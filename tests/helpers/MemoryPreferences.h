#pragma once

#include "Support/Preferences.h"

#include <QMap>

/// Preferences that live as long as the test, and count what is written to them.
class MemoryPreferences final : public Preferences {
public:
    [[nodiscard]] std::optional<QByteArray> data(const QString& key) const override
    {
        return documents.contains(key) ? std::optional(documents[key]) : std::nullopt;
    }

    void setData(const QString& key, const QByteArray& value) override
    {
        documents[key] = value;
        ++writes;
    }

    [[nodiscard]] std::optional<QString> text(const QString& key) const override
    {
        return texts.contains(key) ? std::optional(texts[key]) : std::nullopt;
    }

    void setText(const QString& key, const QString& value) override
    {
        texts[key] = value;
        ++writes;
    }

    QMap<QString, QByteArray> documents;
    QMap<QString, QString> texts;
    int writes = 0;
};
