#include "keys/HotKeySpec.h"

#include "platform/HotKeyNames.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <cmath>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kAllModifiers =
    HotKeySpec::command | HotKeySpec::shift | HotKeySpec::option | HotKeySpec::control;
constexpr quint32 kRequiredModifiers =
    HotKeySpec::command | HotKeySpec::option | HotKeySpec::control;

// Keys that print nothing readable get the same fixed name on every OS.
struct NamedKey {
    quint32 keyCode;
    const char16_t* name;
};
constexpr NamedKey kNamedKeys[] = {
    {49, u"空格"}, {36, u"↩"},    {48, u"⇥"},   {51, u"⌫"},   {117, u"⌦"},  {53, u"⎋"},
    {115, u"↖"},   {119, u"↘"},   {116, u"⇞"},  {121, u"⇟"},  {123, u"←"},  {124, u"→"},
    {126, u"↑"},   {125, u"↓"},   {122, u"F1"}, {120, u"F2"}, {99, u"F3"},  {118, u"F4"},
    {96, u"F5"},   {97, u"F6"},   {98, u"F7"},  {100, u"F8"}, {101, u"F9"}, {109, u"F10"},
    {103, u"F11"}, {111, u"F12"},
};

QString keyName(quint32 keyCode) {
    for (const NamedKey& key : kNamedKeys)
        if (key.keyCode == keyCode)
            return QString::fromUtf16(key.name);
    if (std::optional<QString> character = HotKeyNames::layoutCharacter(keyCode))
        return *character;
    return u"键"_s + QString::number(keyCode);
}

// Only whole numbers that fit the stored unsigned 32-bit field.
std::optional<quint32> unsigned32(const QJsonValue& value) {
    if (!value.isDouble())
        return std::nullopt;
    const double number = value.toDouble();
    if (!(number >= 0 && number <= std::numeric_limits<quint32>::max()) ||
        std::floor(number) != number)
        return std::nullopt;
    return quint32(number);
}

} // namespace

std::optional<HotKeySpec> HotKeySpec::fromKeyPress(quint32 keyCode, quint32 modifiers) {
    const quint32 held = modifiers & kAllModifiers;
    if ((held & kRequiredModifiers) == 0)
        return std::nullopt;
    return HotKeySpec{keyCode, held};
}

QByteArray HotKeySpec::toJson() const {
    const QJsonObject object{{u"keyCode"_s, qint64(keyCode)}, {u"modifiers"_s, qint64(modifiers)}};
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

std::optional<HotKeySpec> HotKeySpec::fromJson(const QByteArray& json) {
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isObject())
        return std::nullopt;
    const QJsonObject object = document.object();
    const std::optional<quint32> keyCode = unsigned32(object.value(u"keyCode"_s));
    const std::optional<quint32> modifiers = unsigned32(object.value(u"modifiers"_s));
    if (!keyCode || !modifiers)
        return std::nullopt;
    return HotKeySpec{*keyCode, *modifiers};
}

QString HotKeySpec::displayName() const {
    return HotKeyNames::combination(modifiers, keyName(keyCode));
}
