#pragma once

#include <QChar>
#include <QString>
#include <QtGlobal>
#include <optional>

// Stored hot keys name physical keys by the Mac virtual key code on every OS. This table ties
// those codes to the character the key prints on a US-ANSI keyboard and to the X11 key code of
// the same physical key, so a combination recorded on one system means the same key on the other.
namespace MacKeyCodes {

// The unshifted character of the key on a US-ANSI layout (lower-case letters), or nothing
// for keys that print none (space, Return, arrows, function keys) and unknown codes.
std::optional<QChar> usCharacter(quint32 keyCode);
// The key's US-ANSI character as a hot-key name shows it (upper case), or nothing.
std::optional<QString> usKeyName(quint32 keyCode);
// The key that prints `character` on a US-ANSI layout; letters match in either case.
std::optional<quint32> fromUsCharacter(QChar character);

// X11 key codes are evdev codes + 8, as QKeyEvent::nativeScanCode() reports them on X11.
std::optional<quint32> fromX11KeyCode(quint32 x11KeyCode);
std::optional<quint32> toX11KeyCode(quint32 keyCode);

// HotKeySpec modifier bits from Qt::KeyboardModifiers. Qt on macOS reports ⌘ as its Control
// modifier and ⌃ as Meta; `controlMeansCommand` says whether this Qt does that.
quint32 modifiersFromQt(quint32 qtModifiers, bool controlMeansCommand);

} // namespace MacKeyCodes
