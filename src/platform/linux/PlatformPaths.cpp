#include "platform/PlatformPaths.h"

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

} // namespace

std::optional<QString> logDirectory() {
    const auto state = xdgDirectory("XDG_STATE_HOME", u".local/state"_s);
    if (!state)
        return std::nullopt;
    return *state + u"/Quillet"_s;
}

} // namespace PlatformPaths
