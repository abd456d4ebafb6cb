#pragma once

#include <QByteArray>
#include <QStringView>

/// Appends a text as a JSON string, quotes included. Half of a surrogate pair becomes "?".
void appendJsonString(QByteArray& json, QStringView text);
