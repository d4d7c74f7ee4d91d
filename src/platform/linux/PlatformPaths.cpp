#include "platform/PlatformPaths.h"

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

} // namespace

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
