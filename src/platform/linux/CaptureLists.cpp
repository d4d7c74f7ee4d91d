#include "platform/CaptureLists.h"

using namespace Qt::StringLiterals;

namespace CaptureLists {

// WM_CLASS classes, lower-cased, as the desktop's password managers, secret prompts,
// authentication agents and screen lockers set them.
const QSet<QString>& passwordManagers() {
    static const QSet<QString> classes = {
        u"keepassxc"_s,
        u"keepass2"_s,
        u"bitwarden"_s,
        u"1password"_s,
        u"enpass"_s,
        u"proton pass"_s,
        u"kwalletmanager5"_s,
        u"kwalletmanager"_s,
        u"kwalletd5"_s,
        u"kwalletd6"_s,
        u"ksecretd"_s,
        u"seahorse"_s,
        u"org.gnome.seahorse.application"_s,
        u"org.gnome.world.secrets"_s,
        u"gcr-prompter"_s,
        u"pinentry"_s,
        u"pinentry-gtk-2"_s,
        u"pinentry-gtk"_s,
        u"pinentry-qt"_s,
        u"pinentry-qt5"_s,
        u"pinentry-gnome3"_s,
        u"polkit-gnome-authentication-agent-1"_s,
        u"polkit-kde-authentication-agent-1"_s,
        u"polkit-mate-authentication-agent-1"_s,
        u"lxpolkit"_s,
        u"xfce-polkit"_s,
        u"org.kde.polkit-kde-authentication-agent-1"_s,
        u"i3lock"_s,
        u"xsecurelock"_s,
        u"light-locker"_s,
        u"xscreensaver"_s,
        u"slock"_s,
    };
    return classes;
}

bool refusesSimulatedCopy(const QString& identifier) {
    static const QSet<QString> terminals = {
        u"xterm"_s,
        u"uxterm"_s,
        u"gnome-terminal"_s,
        u"gnome-terminal-server"_s,
        u"konsole"_s,
        u"xfce4-terminal"_s,
        u"terminator"_s,
        u"tilix"_s,
        u"alacritty"_s,
        u"kitty"_s,
        u"urxvt"_s,
        u"rxvt"_s,
        u"st-256color"_s,
        u"st"_s,
        u"lxterminal"_s,
        u"mate-terminal"_s,
        u"qterminal"_s,
        u"terminology"_s,
        u"org.wezfurlong.wezterm"_s,
        u"foot"_s,
        u"sakura"_s,
        u"guake"_s,
        u"tilda"_s,
        u"yakuake"_s,
        u"cool-retro-term"_s,
        u"eterm"_s,
        u"kgx"_s,
        u"org.gnome.console"_s,
        u"org.gnome.ptyxis"_s,
        u"com.mitchellh.ghostty"_s,
    };
    return terminals.contains(identifier);
}

} // namespace CaptureLists
