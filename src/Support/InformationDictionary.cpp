#include "Support/InformationDictionary.h"

#include "Support/ControlLog.h"
#include "Support/StrictJson.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace {

/// Seen from the program: where it was built, and where it is installed.
const std::initializer_list<QString> resourceFolders {
    u"share/tarrow"_s, QStringLiteral(TARROW_INSTALLED_RESOURCES)};

} // namespace

QJsonObject informationDictionary()
{
    const QDir programFolder(QCoreApplication::applicationDirPath());
    for (const QString& folder : resourceFolders) {
        QFile file(programFolder.filePath(folder + u"/Info.json"_s));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
        if (!document.isObject())
            qCCritical(controlLog, "%s is no JSON object", qUtf8Printable(file.fileName()));
        return document.object();
    }
    qCCritical(controlLog, "Info.json is not where the program's resources are");
    return {};
}

QString runningVersion(const QJsonObject& information)
{
    return JsonForm<QString>::decode(information.value(u"CFBundleShortVersionString"))
        .value_or(u"0"_s);
}
