#include "platform/PlatformPaths.h"

using namespace Qt::StringLiterals;

namespace PlatformPaths {

std::optional<QString> logDirectory() {
    const QString home = qEnvironmentVariable("HOME");
    if (home.isEmpty())
        return std::nullopt;
    return home + u"/Library/Logs/Quillet"_s;
}

} // namespace PlatformPaths
