#include "platform/PlatformPaths.h"

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

} // namespace PlatformPaths
