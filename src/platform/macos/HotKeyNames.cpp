#include "platform/HotKeyNames.h"

#include "keys/HotKeySpec.h"
#include "keys/MacKeyCodes.h"

using namespace Qt::StringLiterals;

namespace HotKeyNames {

// The US-ANSI character until the layout translation (UCKeyTranslate) is wired in.
std::optional<QString> layoutCharacter(quint32 keyCode) {
    return MacKeyCodes::usKeyName(keyCode);
}

QString combination(quint32 modifiers, const QString& keyName) {
    QString name;
    if (modifiers & HotKeySpec::control)
        name += u"⌃"_s;
    if (modifiers & HotKeySpec::option)
        name += u"⌥"_s;
    if (modifiers & HotKeySpec::shift)
        name += u"⇧"_s;
    if (modifiers & HotKeySpec::command)
        name += u"⌘"_s;
    return name + keyName;
}

QString modifierName(quint32 modifier) {
    switch (modifier) {
    case HotKeySpec::control:
        return u"⌃ Control"_s;
    case HotKeySpec::option:
        return u"⌥ Option"_s;
    case HotKeySpec::shift:
        return u"⇧ Shift"_s;
    case HotKeySpec::command:
        return u"⌘ Command"_s;
    }
    return {};
}

QString modifierRequired() {
    return u"至少需包含 ⌃ ⌥ ⌘ 之一"_s;
}

// Qt hands over the virtual key code itself on macOS.
std::optional<quint32> keyCode(quint32, quint32 nativeVirtualKey) {
    return nativeVirtualKey;
}

quint32 modifiers(quint32 qtModifiers) {
    return MacKeyCodes::modifiersFromQt(qtModifiers, /*controlMeansCommand=*/true);
}

} // namespace HotKeyNames
