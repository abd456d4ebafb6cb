#pragma once

#include <QJsonObject>

/// What the program is told about itself where it is installed: the object in the file Info.json
/// among its resources. Whoever packages the program may replace the file.
///
/// A file that is missing or holds no JSON object is an empty dictionary, and costs a line on the
/// log. The application object must exist.
[[nodiscard]] QJsonObject informationDictionary();

/// The version that a dictionary gives to the program, "0" when it gives none.
[[nodiscard]] QString runningVersion(const QJsonObject& information);
