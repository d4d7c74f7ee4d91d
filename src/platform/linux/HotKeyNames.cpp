#include "platform/HotKeyNames.h"

#include "keys/HotKeySpec.h"
#include "keys/MacKeyCodes.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace HotKeyNames {

// The core has no keyboard-layout access on X11, so the key's US-ANSI character stands in.
std::optional<QString> layoutCharacter(quint32 keyCode) {
    return MacKeyCodes::usKeyName(keyCode);
}

QString combination(quint32 modifiers, const QString& keyName) {
    QStringList parts;
    for (const quint32 modifier :
         {HotKeySpec::control, HotKeySpec::option, HotKeySpec::shift, HotKeySpec::command})
        if (modifiers & modifier)
            parts << modifierName(modifier);
    parts << keyName;
    return parts.join(u'+');
}

QString modifierName(quint32 modifier) {
    switch (modifier) {
    case HotKeySpec::control:
        return u"Ctrl"_s;
    case HotKeySpec::option:
        return u"Alt"_s;
    case HotKeySpec::shift:
        return u"Shift"_s;
    case HotKeySpec::command:
        return u"Super"_s;
    }
    return {};
}

QString modifierRequired() {
    return u"至少需包含 Ctrl、Alt、Super 之一"_s;
}

std::optional<quint32> keyCode(quint32 nativeScanCode, quint32) {
    return MacKeyCodes::fromX11KeyCode(nativeScanCode);
}

quint32 modifiers(quint32 qtModifiers) {
    return MacKeyCodes::modifiersFromQt(qtModifiers, /*controlMeansCommand=*/false);
}

} // namespace HotKeyNames
