#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <optional>

// The settings file of a test's home as another program would read it.
namespace StoredSettings {

QString filePath(const QString& home);
// The file's JSON object; nothing when it is missing or not a JSON object.
std::optional<QJsonObject> read(const QString& home);
// The notebook's entries stored in the file (the "vocabulary2" byte data); nothing when the
// data is not a JSON array.
std::optional<QJsonArray> notebook(const QJsonObject& settings);
// The texts of the notebook's entries, all or only the starred ones.
QStringList notebookTexts(const QJsonArray& entries, bool starredOnly = false);
// Waits until no program is writing the file: each writer holds the settings folder's lock
// until its file is on disk, the agent's background writer included.
void waitForWriters(const QString& home);

} // namespace StoredSettings
