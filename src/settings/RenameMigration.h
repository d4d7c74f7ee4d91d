#pragma once

#include <QString>
#include <QStringView>
#include <functional>
#include <optional>

class DefaultsStore;

// Carries the settings and files of the program's former identity, Lumenfold, over once.
// Run at start-up, before the settings objects are first used.
namespace RenameMigration {

// Set to true in the store once the migration has run, whatever it could carry.
inline constexpr QStringView markerKey = u"migration.fromLumenfold";

struct Folders {
    QString formerSettingsFile; // the former defaults.json, in the store's JSON form
    QString formerDataFolder;
    QString currentDataFolder;
};

struct Carried {
    qsizetype settings = 0;
    qsizetype files = 0;
};

// Where the former identity kept its things: beside the current settings and data folders.
Folders defaultFolders();

// Copies the former settings the store does not hold (one write, together with the marker)
// and moves the former files into the current data folder, merging sub-folders file by file.
// Names starting with "." are skipped; nothing at the target is overwritten; what cannot be
// moved stays where it is. `log` receives the event-log line when anything was carried.
// Nothing when the marker was already set.
std::optional<Carried> runIfNeeded(DefaultsStore& store, const Folders& folders,
                                   const std::function<void(const QString& content)>& log);
// The same for the program's store and folders, logging to the event log.
std::optional<Carried> runIfNeeded();

} // namespace RenameMigration
