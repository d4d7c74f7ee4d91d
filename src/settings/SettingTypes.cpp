#include "settings/SettingTypes.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <cmath>

using namespace Qt::StringLiterals;

namespace Settings {
namespace {

bool isHanOrFullWidth(QChar character) {
    return character.unicode() >= 0x2E80;
}

bool isLatinOrDigit(QChar character) {
    return character.unicode() < 0x80 && character.isLetterOrNumber();
}

// Chinese text meets numbers and Latin words with a space between them.
QString spacedJoin(const QString& first, const QString& second) {
    if (first.isEmpty() || second.isEmpty())
        return first + second;
    const QChar last = first.back();
    const QChar next = second.front();
    const bool needsSpace = (isHanOrFullWidth(last) && isLatinOrDigit(next)) ||
                            (isLatinOrDigit(last) && isHanOrFullWidth(next));
    return needsSpace ? first + u' ' + second : first + second;
}

// A plain decimal number: no sign, exponent, hexadecimal, "nan" or "inf", which the general
// number parser would take.
std::optional<double> plainDecimal(const QString& text) {
    qsizetype digits = 0;
    qsizetype points = 0;
    for (const QChar character : text) {
        if (character == u'.')
            ++points;
        else if (character >= u'0' && character <= u'9')
            ++digits;
        else
            return std::nullopt;
    }
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    if (digits == 0 || points > 1 || !isNumber || !std::isfinite(value))
        return std::nullopt;
    return value;
}

} // namespace

QString refusal(const QString& key, const QString& hint, const QString& text) {
    return spacedJoin(u"「%1」需要"_s.arg(key), hint) + u"，收到「%1」。"_s.arg(text);
}

QString Flag::text(bool value) {
    return value ? u"true"_s : u"false"_s;
}

std::optional<bool> Flag::parse(const QString& text) {
    const QString lower = text.trimmed().toLower();
    if (lower == u"true"_s || lower == u"on"_s || lower == u"1"_s)
        return true;
    if (lower == u"false"_s || lower == u"off"_s || lower == u"0"_s)
        return false;
    return std::nullopt;
}

QString Flag::hint() {
    return u"布尔值（true 或 false）"_s;
}

std::optional<double> Seconds::parse(const QString& text) {
    const std::optional<double> seconds = plainDecimal(text.trimmed());
    if (!seconds || *seconds > 10)
        return std::nullopt;
    return seconds;
}

QString Seconds::hint() {
    return u"0 到 10 之间的秒数"_s;
}

QString TextList::text(const QStringList& value) {
    return QString::fromUtf8(
        QJsonDocument(QJsonArray::fromStringList(value)).toJson(QJsonDocument::Compact));
}

std::optional<QStringList> TextList::parse(const QString& text) {
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isArray())
        return std::nullopt;
    QStringList list;
    for (const QJsonValue& member : document.array()) {
        if (!member.isString())
            return std::nullopt;
        list.append(member.toString());
    }
    return list;
}

QString TextList::hint() {
    return u"文本的 JSON 数组（如 [\"bundled\"]）"_s;
}

std::optional<QStringList> NonEmptyTextList::read(const DefaultsStore& store, const QString& key) {
    std::optional<QStringList> list = TextList::read(store, key);
    if (list && list->isEmpty())
        return std::nullopt;
    return list;
}

std::optional<QUrl> ServerAddress::read(const DefaultsStore& store, const QString& key) {
    const std::optional<QString> text = store.stringIfPresent(key);
    return text ? parse(*text) : std::nullopt;
}

std::optional<QUrl> ServerAddress::parse(const QString& text) {
    QUrl url(text.trimmed(), QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != u"http"_s && scheme != u"https"_s) || url.host().isEmpty() ||
        !url.userInfo().isEmpty() || url.hasQuery() || url.hasFragment())
        return std::nullopt;
    QString path = url.path();
    while (path.endsWith(u'/'))
        path.chop(1);
    url.setPath(path);
    return url;
}

QString ServerAddress::hint() {
    return u"以 http:// 或 https:// 开头、带主机名的网址"_s;
}

std::optional<QString> ModelName::read(const DefaultsStore& store, const QString& key) {
    const std::optional<QString> text = store.stringIfPresent(key);
    return text ? parse(*text) : std::nullopt;
}

std::optional<QString> ModelName::parse(const QString& text) {
    const QString name = text.trimmed();
    if (name.isEmpty())
        return std::nullopt;
    for (const QChar c : name) {
        if (c.isSpace() || c.category() == QChar::Other_Control)
            return std::nullopt;
    }
    return name;
}

QString ModelName::hint() {
    return u"不含空白的模型名称"_s;
}

std::optional<OptionalHotKey::Value> OptionalHotKey::read(const DefaultsStore& store,
                                                          const QString& key) {
    if (!store.contains(key))
        return std::nullopt;
    const std::optional<QByteArray> data = store.dataIfPresent(key);
    return Value(data ? HotKeySpec::fromJson(*data) : std::nullopt);
}

QVariant OptionalHotKey::stored(const Value& value) {
    // Empty rather than absent, so that none reads back as none and not as the default.
    return value ? value->toJson() : QByteArray("");
}

QString OptionalHotKey::text(const Value& value) {
    return value ? QString::fromUtf8(value->toJson()) : u"none"_s;
}

QString OptionalHotKey::describe(const Value& value) {
    return value ? text(value) + u"（"_s + value->displayName() + u"）"_s : text(value);
}

std::optional<OptionalHotKey::Value> OptionalHotKey::parse(const QString& text) {
    if (text.trimmed() == u"none"_s)
        return Value();
    const std::optional<HotKeySpec> decoded = HotKeySpec::fromJson(text.toUtf8());
    const std::optional<HotKeySpec> spec =
        decoded ? HotKeySpec::fromKeyPress(decoded->keyCode, decoded->modifiers) : std::nullopt;
    if (!spec)
        return std::nullopt;
    return Value(spec);
}

QString OptionalHotKey::hint() {
    return u"{\"keyCode\": 数字, \"modifiers\": 数字} 或 none，且至少含一个修饰键"_s;
}

} // namespace Settings
