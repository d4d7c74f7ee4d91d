#include "platform/PlatformPaths.h"

#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace PlatformPaths {
namespace {

// An XDG base directory: the variable when it holds an absolute path, else $HOME/<fallback>.
std::optional<QString> xdgDirectory(const char* variable, const QString& fallback) {
    const QString set = qEnvironmentVariable(variable);
    if (set.startsWith(u'/'))
        return set;
    const QString home = qEnvironmentVariable("HOME");
    if (home.isEmpty())
        return std::nullopt;
    return home + u'/' + fallback;
}

std::optional<QString> ours(const char* variable, const QString& fallback) {
    const auto base = xdgDirectory(variable, fallback);
    if (!base)
        return std::nullopt;
    return *base + u"/Quillet"_s;
}

// XDG_DOWNLOAD_DIR from the user-dirs file, as xdg-user-dirs writes it:
// XDG_DOWNLOAD_DIR="$HOME/Downloads", or an absolute path. The home folder itself means
// there is no download folder.
std::optional<QString> configuredDownloads(const QString& home) {
    const auto config = xdgDirectory("XDG_CONFIG_HOME", u".config"_s);
    if (!config)
        return std::nullopt;
    QFile file(*config + u"/user-dirs.dirs"_s);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return std::nullopt;
    const QString key = u"XDG_DOWNLOAD_DIR="_s;
    while (!file.atEnd()) {
        const QString line = QString::fromUtf8(file.readLine()).trimmed();
        if (!line.startsWith(key))
            continue;
        QString path = line.sliced(key.size());
        if (path.size() >= 2 && path.startsWith(u'"') && path.endsWith(u'"'))
            path = path.sliced(1, path.size() - 2);
        if (path.startsWith(u"$HOME"_s))
            path = home + path.sliced(5);
        while (path.size() > 1 && path.endsWith(u'/'))
            path.chop(1);
        if (!path.startsWith(u'/') || path == home)
            return std::nullopt;
        return path;
    }
    return std::nullopt;
}

} // namespace

std::optional<QString> downloadDirectory() {
    const QString home = qEnvironmentVariable("HOME");
    if (home.isEmpty())
        return std::nullopt;
    if (const auto configured = configuredDownloads(home))
        return configured;
    const QString downloads = home + u"/Downloads"_s;
    return QFileInfo(downloads).isDir() ? downloads : home;
}

std::optional<QString> logDirectory() {
    return ours("XDG_STATE_HOME", u".local/state"_s);
}

std::optional<QString> configDirectory() {
    return ours("XDG_CONFIG_HOME", u".config"_s);
}

std::optional<QString> dataDirectory() {
    return ours("XDG_DATA_HOME", u".local/share"_s);
}

std::optional<QString> siblingExecutable(const QString& name) {
    const QString running = QFileInfo(u"/proc/self/exe"_s).canonicalFilePath();
    if (running.isEmpty())
        return std::nullopt;
    return QFileInfo(running).path() + u'/' + name;
}

} // namespace PlatformPaths
