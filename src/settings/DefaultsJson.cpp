#include "settings/DefaultsJson.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QStringList>
#include <limits>

using namespace Qt::StringLiterals;

namespace DefaultsJson {
namespace {

constexpr QLatin1StringView kDataKey("$data");

QVariant fromJson(const QJsonValue& json);

QVariantMap mapFromJson(const QJsonObject& object) {
    QVariantMap map;
    for (auto it = object.begin(); it != object.end(); ++it) {
        // A null says nothing about a key; the key is simply absent.
        if (!it->isNull())
            map.insert(it.key(), fromJson(*it));
    }
    return map;
}

std::optional<QByteArray> dataFromJson(const QJsonObject& object) {
    if (object.size() != 1 || !object.begin()->isString() || object.begin().key() != kDataKey)
        return std::nullopt;
    // Non-Latin-1 characters turn into '?', which is not base64 either.
    auto decoded = QByteArray::fromBase64Encoding(object.begin()->toString().toLatin1(),
                                                  QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return std::move(*decoded);
}

QVariant fromJson(const QJsonValue& json) {
    switch (json.type()) {
    case QJsonValue::Bool:
        return json.toBool();
    case QJsonValue::Double:
        return json.toVariant(); // qlonglong when the number is an integer that fits
    case QJsonValue::String:
        return json.toString();
    case QJsonValue::Array: {
        QVariantList list;
        const QJsonArray array = json.toArray();
        list.reserve(array.size());
        for (const QJsonValue& member : array)
            list.append(fromJson(member)); // a null keeps its place as an invalid value
        return list;
    }
    case QJsonValue::Object: {
        const QJsonObject object = json.toObject();
        if (auto data = dataFromJson(object))
            return *data;
        return mapFromJson(object);
    }
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        break;
    }
    return {};
}

QJsonValue toJson(const QVariant& value);

QJsonObject objectFromMap(const QVariantMap& map) {
    QJsonObject object;
    for (auto it = map.begin(); it != map.end(); ++it) {
        const QJsonValue json = toJson(*it);
        if (!json.isNull())
            object.insert(it.key(), json);
    }
    return object;
}

QJsonValue toJson(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::Bool:
        return value.toBool();
    case QMetaType::LongLong:
        return value.toLongLong();
    case QMetaType::Double:
        return value.toDouble();
    case QMetaType::QString:
        return value.toString();
    case QMetaType::QByteArray:
        return QJsonObject{{kDataKey, QString::fromLatin1(value.toByteArray().toBase64())}};
    case QMetaType::QVariantList: {
        QJsonArray array;
        for (const QVariant& member : value.toList())
            array.append(toJson(member));
        return array;
    }
    case QMetaType::QVariantMap:
        return objectFromMap(value.toMap());
    default:
        break;
    }
    const QVariant normal = normalized(value);
    // normalized() only ever gives the types above, so this cannot recurse twice.
    if (normal.isValid() && normal.typeId() != value.typeId())
        return toJson(normal);
    return QJsonValue::Null;
}

QVariantList normalizedList(const QVariantList& list) {
    QVariantList out;
    out.reserve(list.size());
    for (const QVariant& member : list)
        out.append(normalized(member));
    return out;
}

template <typename Map> QVariantMap normalizedMap(const Map& map) {
    QVariantMap out;
    for (auto it = map.begin(); it != map.end(); ++it) {
        QVariant member = normalized(*it);
        if (member.isValid())
            out.insert(it.key(), std::move(member));
    }
    return out;
}

} // namespace

std::optional<QVariantMap> parse(const QByteArray& bytes) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(bytes, &error);
    if (error.error != QJsonParseError::NoError || !document.isObject())
        return std::nullopt;
    // At the top level "$data" is just a key: the file itself is never byte data.
    return mapFromJson(document.object());
}

QByteArray serialize(const QVariantMap& values) {
    return QJsonDocument(objectFromMap(values)).toJson(QJsonDocument::Indented);
}

QVariant normalized(const QVariant& value) {
    switch (value.typeId()) {
    case QMetaType::UnknownType:
        return {};
    case QMetaType::Bool:
    case QMetaType::LongLong:
    case QMetaType::Double:
    case QMetaType::QString:
    case QMetaType::QByteArray:
        return value;
    case QMetaType::Int:
    case QMetaType::Long:
    case QMetaType::Short:
    case QMetaType::Char:
    case QMetaType::SChar:
    case QMetaType::UInt:
    case QMetaType::UShort:
    case QMetaType::UChar:
        return value.toLongLong();
    case QMetaType::ULong:
    case QMetaType::ULongLong: {
        const qulonglong number = value.toULongLong();
        if (number <= qulonglong(std::numeric_limits<qint64>::max()))
            return qint64(number);
        return double(number);
    }
    case QMetaType::Float:
        return double(value.toFloat());
    case QMetaType::QVariantList:
    case QMetaType::QStringList:
        return normalizedList(value.toList());
    case QMetaType::QVariantMap:
        return normalizedMap(value.toMap());
    case QMetaType::QVariantHash:
        return normalizedMap(value.toHash());
    default:
        break;
    }
    if (value.canConvert<QString>())
        return value.toString();
    return {};
}

} // namespace DefaultsJson
