#pragma once

#include <QString>
#include <optional>

// How each OS writes and reads hot keys: modifier names, the recorder's refusal text, and the
// translation of a key event's native codes into the stored key code and modifier bits.
namespace HotKeyNames {

// The printable character the key produces on the keyboard layout, or nothing.
std::optional<QString> layoutCharacter(quint32 keyCode);
// The modifiers present in `modifiers` (HotKeySpec bits) followed by `keyName`.
QString combination(quint32 modifiers, const QString& keyName);
// One modifier key (a single HotKeySpec bit) as this OS labels it on its own.
QString modifierName(quint32 modifier);
// Shown when a recorded press holds none of control, option and command.
QString modifierRequired();

// The stored key code of a key event (QKeyEvent::nativeScanCode / nativeVirtualKey), or
// nothing for a key the hot-key service cannot name.
std::optional<quint32> keyCode(quint32 nativeScanCode, quint32 nativeVirtualKey);
// HotKeySpec modifier bits from a key event's Qt::KeyboardModifiers.
quint32 modifiers(quint32 qtModifiers);

} // namespace HotKeyNames
