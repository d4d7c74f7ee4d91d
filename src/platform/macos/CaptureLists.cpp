#include "platform/CaptureLists.h"

using namespace Qt::StringLiterals;

namespace CaptureLists {

const QSet<QString>& passwordManagers() {
    static const QSet<QString> bundles = {
        u"com.1password.1password"_s,
        u"com.agilebits.onepassword7"_s,
        u"com.agilebits.onepassword-osx"_s,
        u"com.bitwarden.desktop"_s,
        u"com.apple.keychainaccess"_s,
        u"com.apple.Passwords"_s,
        u"com.apple.Passwords.MenuBarExtra"_s,
        u"com.dashlane.Dashlane"_s,
        u"com.lastpass.LastPass"_s,
        u"org.keepassxc.keepassxc"_s,
        u"in.sinew.Enpass-Desktop"_s,
        u"app.strongbox.mac.StrongboxNextGen"_s,
        u"com.apple.loginwindow"_s,
    };
    return bundles;
}

// ⌘C copies in every macOS application, terminals included.
bool refusesSimulatedCopy(const QString&) {
    return false;
}

} // namespace CaptureLists
