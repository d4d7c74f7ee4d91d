#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <variant>

class DefaultsStore;
class WordSourceCatalog;

// One .tar.gz for the user to send in when something goes wrong: the diagnostic logs (which
// never held looked-up text), the environment line, the settings without the notebook and
// without anything that could hold looked-up text, the dictionaries in their order, and the
// capabilities' states. Written atomically; never replaces an earlier export.
namespace DiagnosticsExport {

struct Sources {
    const DefaultsStore& store;
    const WordSourceCatalog& dictionaries;
    QStringList removedDictionaries;
    // One line per capability with its state, as the permissions page words it.
    QStringList capabilities;
};

struct Exported {
    QString path;
};
struct Failure {
    QString message; // for the user, in Chinese
};
using Outcome = std::variant<Exported, Failure>;

// "Quillet-诊断-20240305-090701", the archive's name without ".tar.gz" and its one folder.
QString baseName(const QDateTime& time);

// Writes the archive into `folder`, or into the user's download folder when none is given.
Outcome write(const Sources& sources, const QString& folder = {},
              const QDateTime& now = QDateTime::currentDateTime());

// The settings file's values as they go into the archive, as JSON.
QByteArray exportedSettings(const DefaultsStore& store);

} // namespace DiagnosticsExport
