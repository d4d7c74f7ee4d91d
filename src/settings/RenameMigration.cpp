#include "settings/RenameMigration.h"

#include "logs/EventLog.h"
#include "platform/PlatformPaths.h"
#include "settings/DefaultsJson.h"
#include "settings/DefaultsStore.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace RenameMigration {
namespace {

constexpr QStringView kFormerName = u"Lumenfold";

QString sibling(const QString& folder, QStringView name) {
    return QFileInfo(folder).path() + u'/' + name.toString();
}

// A missing or unreadable file carries nothing, and is left as it is.
QVariantMap formerSettings(const QString& filePath) {
    if (filePath.isEmpty())
        return {};
    QFile file(filePath);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return DefaultsJson::parse(file.readAll()).value_or(QVariantMap());
}

bool occupied(const QString& path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

// Moves what `from` holds into `to` and counts the files moved. Sub-folders are merged file
// by file, so a folder that already exists at the target gains what it lacks and keeps what
// it has. Folders left empty are removed; links are moved as they are, never followed.
qsizetype moveContents(const QString& from, const QString& to) {
    const QFileInfoList entries = QDir(from).entryInfoList(
        QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden | QDir::System, QDir::Name);
    if (entries.isEmpty() || !QDir().mkpath(to))
        return 0;
    qsizetype moved = 0;
    for (const QFileInfo& entry : entries) {
        if (entry.fileName().startsWith(u'.'))
            continue;
        const QString target = to + u'/' + entry.fileName();
        if (entry.isDir() && !entry.isSymLink()) {
            moved += moveContents(entry.filePath(), target);
            QDir().rmdir(entry.filePath()); // fails, as it should, while anything is left
        } else if (!occupied(target) && QFile::rename(entry.filePath(), target)) {
            ++moved;
        }
    }
    return moved;
}

} // namespace

Folders defaultFolders() {
    Folders folders;
    if (const auto config = PlatformPaths::configDirectory())
        folders.formerSettingsFile = sibling(*config, kFormerName) + u"/defaults.json"_s;
    if (const auto data = PlatformPaths::dataDirectory()) {
        folders.formerDataFolder = sibling(*data, kFormerName);
        folders.currentDataFolder = *data;
    }
    return folders;
}

std::optional<Carried> runIfNeeded(DefaultsStore& store, const Folders& folders,
                                   const std::function<void(const QString& content)>& log) {
    const QString marker = markerKey.toString();
    // A command that only reads moves nothing: the next program that writes carries it over.
    if (store.writesHeld() || store.boolValue(marker))
        return std::nullopt;

    std::optional<Carried> carried;
    // Under the store's lock, so two programs starting together carry everything over once.
    store.transaction([&] {
        if (store.boolValue(marker))
            return;
        QVariantMap changes;
        const QVariantMap former = formerSettings(folders.formerSettingsFile);
        for (auto it = former.begin(); it != former.end(); ++it) {
            if (!store.contains(it.key()))
                changes.insert(it.key(), *it);
        }
        carried = Carried{.settings = changes.size() - (changes.contains(marker) ? 1 : 0)};
        if (!folders.formerDataFolder.isEmpty() && !folders.currentDataFolder.isEmpty())
            carried->files = moveContents(folders.formerDataFolder, folders.currentDataFolder);
        changes.insert(marker, true);
        store.setValues(changes);
    });
    if (!carried)
        return std::nullopt;
    if ((carried->settings > 0 || carried->files > 0) && log) {
        log(u"已从 Lumenfold 搬来偏好 %1 项设置、%2 个文件"_s.arg(carried->settings)
                .arg(carried->files));
    }
    return carried;
}

std::optional<Carried> runIfNeeded() {
    return runIfNeeded(DefaultsStore::shared(), defaultFolders(), [](const QString& content) {
        EventLog::shared().append(EventLog::Kind::trigger, content);
    });
}

} // namespace RenameMigration
