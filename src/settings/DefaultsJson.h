#pragma once

#include <QByteArray>
#include <QVariant>
#include <QVariantMap>
#include <optional>

// The settings file's form: a JSON object whose booleans, numbers, texts, arrays and objects
// are themselves, and whose byte data is {"$data": "<base64>"}. Numbers that are integers
// within qint64 read back as qint64, all others as double.
namespace DefaultsJson {

// The values in `bytes`, or nothing when they are not a JSON object.
std::optional<QVariantMap> parse(const QByteArray& bytes);
QByteArray serialize(const QVariantMap& values);

// `value` as it will read back from the file: bool, qint64, double, QString, QByteArray,
// QVariantList or QVariantMap. Other types that convert to text become text; anything else
// gives an invalid QVariant.
QVariant normalized(const QVariant& value);

} // namespace DefaultsJson
