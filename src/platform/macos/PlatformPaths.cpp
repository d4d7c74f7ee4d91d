#include "platform/PlatformPaths.h"

#include <QFileInfo>
#include <cstdint>
#include <mach-o/dyld.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace PlatformPaths {
namespace {

std::optional<QString> inHome(const QString& folder) {
    const QString home = qEnvironmentVariable("HOME");
    if (home.isEmpty())
        return std::nullopt;
    return home + u'/' + folder;
}

} // namespace

std::optional<QString> logDirectory() {
    return inHome(u"Library/Logs/Quillet"_s);
}

// Holds defaults.json until the store is backed by NSUserDefaults.
std::optional<QString> configDirectory() {
    return inHome(u"Library/Preferences/Quillet"_s);
}

std::optional<QString> dataDirectory() {
    return inHome(u"Library/Application Support/Quillet"_s);
}

std::optional<QString> downloadDirectory() {
    return inHome(u"Downloads"_s);
}

std::optional<QString> siblingExecutable(const QString& name) {
    uint32_t size = 0;
    _NSGetExecutablePath(nullptr, &size);
    std::vector<char> path(size + 1, '\0');
    if (_NSGetExecutablePath(path.data(), &size) != 0)
        return std::nullopt;
    const QString running = QFileInfo(QString::fromUtf8(path.data())).canonicalFilePath();
    if (running.isEmpty())
        return std::nullopt;
    return QFileInfo(running).path() + u'/' + name;
}

} // namespace PlatformPaths
