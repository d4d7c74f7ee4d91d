#include "keys/MacKeyCodes.h"

#include "keys/HotKeySpec.h"

#include <QtCore/qnamespace.h>
#include <array>

namespace MacKeyCodes {
namespace {

struct Key {
    quint32 mac;
    quint32 x11;
    char16_t us; // 0: the key prints nothing
};

// One row per physical key of the main block, the editing keys, arrows and F1–F12.
constexpr std::array kKeys{
    Key{0, 38, u'a'},  Key{1, 39, u's'},   Key{2, 40, u'd'},  Key{3, 41, u'f'},   Key{4, 43, u'h'},
    Key{5, 42, u'g'},  Key{6, 52, u'z'},   Key{7, 53, u'x'},  Key{8, 54, u'c'},   Key{9, 55, u'v'},
    Key{11, 56, u'b'}, Key{12, 24, u'q'},  Key{13, 25, u'w'}, Key{14, 26, u'e'},  Key{15, 27, u'r'},
    Key{16, 29, u'y'}, Key{17, 28, u't'},  Key{18, 10, u'1'}, Key{19, 11, u'2'},  Key{20, 12, u'3'},
    Key{21, 13, u'4'}, Key{22, 15, u'6'},  Key{23, 14, u'5'}, Key{24, 21, u'='},  Key{25, 18, u'9'},
    Key{26, 16, u'7'}, Key{27, 20, u'-'},  Key{28, 17, u'8'}, Key{29, 19, u'0'},  Key{30, 35, u']'},
    Key{31, 32, u'o'}, Key{32, 30, u'u'},  Key{33, 34, u'['}, Key{34, 31, u'i'},  Key{35, 33, u'p'},
    Key{36, 36, 0},    Key{37, 46, u'l'},  Key{38, 44, u'j'}, Key{39, 48, u'\''}, Key{40, 45, u'k'},
    Key{41, 47, u';'}, Key{42, 51, u'\\'}, Key{43, 59, u','}, Key{44, 61, u'/'},  Key{45, 57, u'n'},
    Key{46, 58, u'm'}, Key{47, 60, u'.'},  Key{48, 23, 0},    Key{49, 65, 0},     Key{50, 49, u'`'},
    Key{51, 22, 0},    Key{53, 9, 0},      Key{96, 71, 0},    Key{97, 72, 0},     Key{98, 73, 0},
    Key{99, 69, 0},    Key{100, 74, 0},    Key{101, 75, 0},   Key{103, 95, 0},    Key{109, 76, 0},
    Key{111, 96, 0},   Key{115, 110, 0},   Key{116, 112, 0},  Key{117, 119, 0},   Key{118, 70, 0},
    Key{119, 115, 0},  Key{120, 68, 0},    Key{121, 117, 0},  Key{122, 67, 0},    Key{123, 113, 0},
    Key{124, 114, 0},  Key{125, 116, 0},   Key{126, 111, 0},
};

template <typename Matches> const Key* find(Matches matches) {
    for (const Key& key : kKeys)
        if (matches(key))
            return &key;
    return nullptr;
}

} // namespace

std::optional<QChar> usCharacter(quint32 keyCode) {
    const Key* key = find([&](const Key& k) { return k.mac == keyCode; });
    if (!key || key->us == 0)
        return std::nullopt;
    return QChar(key->us);
}

std::optional<quint32> fromUsCharacter(QChar character) {
    const char16_t wanted = character.toLower().unicode();
    if (wanted == 0)
        return std::nullopt;
    const Key* key = find([&](const Key& k) { return k.us == wanted; });
    return key ? std::optional(key->mac) : std::nullopt;
}

std::optional<quint32> fromX11KeyCode(quint32 x11KeyCode) {
    const Key* key = find([&](const Key& k) { return k.x11 == x11KeyCode; });
    return key ? std::optional(key->mac) : std::nullopt;
}

std::optional<quint32> toX11KeyCode(quint32 keyCode) {
    const Key* key = find([&](const Key& k) { return k.mac == keyCode; });
    return key ? std::optional(key->x11) : std::nullopt;
}

quint32 modifiersFromQt(quint32 qtModifiers, bool controlMeansCommand) {
    const quint32 qtControl = controlMeansCommand ? Qt::MetaModifier : Qt::ControlModifier;
    const quint32 qtCommand = controlMeansCommand ? Qt::ControlModifier : Qt::MetaModifier;
    quint32 bits = 0;
    if (qtModifiers & qtControl)
        bits |= HotKeySpec::control;
    if (qtModifiers & Qt::AltModifier)
        bits |= HotKeySpec::option;
    if (qtModifiers & Qt::ShiftModifier)
        bits |= HotKeySpec::shift;
    if (qtModifiers & qtCommand)
        bits |= HotKeySpec::command;
    return bits;
}

std::optional<QString> usKeyName(quint32 keyCode) {
    const std::optional<QChar> character = usCharacter(keyCode);
    if (!character)
        return std::nullopt;
    return QString(*character).toUpper();
}

} // namespace MacKeyCodes
