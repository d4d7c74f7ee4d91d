#include "harness/StoredSettings.h"

#include "platform/SafeFiles.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>

using namespace Qt::StringLiterals;

namespace StoredSettings {

QString filePath(const QString& home) {
    return home + u"/.config/Quillet/defaults.json"_s;
}

std::optional<QJsonObject> read(const QString& home) {
    QFile file(filePath(home));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const QJsonDocument document = QJsonDocument::fromJson(file.readAll());
    if (!document.isObject())
        return std::nullopt;
    return document.object();
}

std::optional<QJsonArray> notebook(const QJsonObject& settings) {
    if (!settings.contains(u"vocabulary2"_s))
        return QJsonArray();
    const QString base64 = settings.value(u"vocabulary2"_s).toObject().value(u"$data"_s).toString();
    const QJsonDocument document =
        QJsonDocument::fromJson(QByteArray::fromBase64(base64.toLatin1()));
    if (!document.isArray())
        return std::nullopt;
    return document.array();
}

QStringList notebookTexts(const QJsonArray& entries, bool starredOnly) {
    QStringList texts;
    for (const QJsonValue& entry : entries) {
        if (!starredOnly || entry.toObject().value(u"starred"_s).toBool())
            texts.append(entry.toObject().value(u"text"_s).toString());
    }
    return texts;
}

void waitForWriters(const QString& home) {
    const SafeFiles::FolderLock lock(QFileInfo(filePath(home)).absolutePath());
}

} // namespace StoredSettings
