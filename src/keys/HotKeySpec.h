#pragma once

#include <QByteArray>
#include <QHashFunctions>
#include <QString>
#include <optional>

// A global key combination: a keyboard virtual key code (the Mac numbering, on every OS, so
// one stored form serves both) and the classic modifier bits.
struct HotKeySpec {
    enum Modifier : quint32 {
        command = 0x100,
        shift = 0x200,
        option = 0x800,
        control = 0x1000,
    };

    quint32 keyCode = 0;
    quint32 modifiers = 0;

    bool operator==(const HotKeySpec&) const = default;

    // ⌃⌥⌘D: key code 2 with command, option and control.
    static HotKeySpec defaultLookup() { return {2, command | option | control}; }

    // A combination from a key press (modifiers as the bits above; others are dropped), or nothing
    // when none of control, option or command is held.
    static std::optional<HotKeySpec> fromKeyPress(quint32 keyCode, quint32 modifiers);

    // {"keyCode": n, "modifiers": n}
    QByteArray toJson() const;
    // Nothing for empty or undecodable data.
    static std::optional<HotKeySpec> fromJson(const QByteArray& json);

    // The name people read: "⌃⌥⌘D" on macOS, "Ctrl+Alt+Super+D" on Linux.
    QString displayName() const;
};

inline size_t qHash(const HotKeySpec& spec, size_t seed = 0) noexcept {
    return ::qHash((quint64(spec.keyCode) << 32) | spec.modifiers, seed);
}

// The fixed hot-key slots; raw values are the identifiers given to the OS (2 is unused).
enum class HotKeySlotID : quint32 {
    lookup = 1,
    previousSubtitle = 3,
    nextSubtitle = 4,
};
