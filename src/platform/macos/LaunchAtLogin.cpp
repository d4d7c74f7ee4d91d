#include "platform/LaunchAtLogin.h"

using namespace Qt::StringLiterals;

// Stays off until the SMAppService adapter replaces this file.
namespace LaunchAtLogin {

bool isEnabled() {
    return false;
}

std::optional<QString> setEnabled(bool enabled) {
    if (!enabled)
        return std::nullopt;
    return u"尚未支持"_s;
}

} // namespace LaunchAtLogin
