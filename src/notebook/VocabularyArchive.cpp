#include "notebook/VocabularyArchive.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace VocabularyArchive {

namespace {

using Entry = Vocabulary::Entry;
using Source = Vocabulary::Source;

const QDateTime& referenceDate() {
    static const QDateTime date(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);
    return date;
}

std::optional<QString> optionalString(const QJsonObject& object, QLatin1StringView key) {
    const QJsonValue value = object.value(key);
    return value.isString() ? std::optional(value.toString()) : std::nullopt;
}

std::optional<double> optionalNumber(const QJsonObject& object, QLatin1StringView key) {
    const QJsonValue value = object.value(key);
    return value.isDouble() && std::isfinite(value.toDouble()) ? std::optional(value.toDouble())
                                                               : std::nullopt;
}

std::optional<QDateTime> optionalDate(const QJsonObject& object, QLatin1StringView key) {
    const std::optional<double> seconds = optionalNumber(object, key);
    return seconds ? dateFromSeconds(*seconds) : std::nullopt;
}

// A damaged archive can hold any number as a count (-3, 1e308). Up to 2^53 a double holds
// every whole number, so a count read back is one that writes back unchanged.
qint64 optionalCount(const QJsonObject& object, QLatin1StringView key) {
    constexpr double largest = 9007199254740992.0;
    return static_cast<qint64>(std::clamp(optionalNumber(object, key).value_or(0), 0.0, largest));
}

void insertString(QJsonObject& object, QLatin1StringView key, const std::optional<QString>& v) {
    if (v)
        object.insert(key, *v);
}

void insertDate(QJsonObject& object, QLatin1StringView key, const std::optional<QDateTime>& v) {
    if (v)
        object.insert(key, secondsFromDate(*v));
}

QJsonObject encodeSource(const Source& source) {
    QJsonObject object{{"title"_L1, source.title}};
    insertString(object, "episode"_L1, source.episode);
    if (source.time)
        object.insert("time"_L1, *source.time);
    insertString(object, "url"_L1, source.url);
    insertString(object, "app"_L1, source.app);
    return object;
}

QJsonObject encodeEntry(const Entry& entry) {
    QJsonObject object{
        {"kind"_L1, entry.kind == Vocabulary::Kind::word ? u"word"_s : u"sentence"_s},
        {"text"_L1, entry.text},
        {"count"_L1, entry.count},
        {"starred"_L1, entry.starred},
    };
    insertString(object, "translation"_L1, entry.translation);
    insertDate(object, "firstDate"_L1, entry.firstDate);
    insertDate(object, "lastDate"_L1, entry.lastDate);
    if (entry.source)
        object.insert("source"_L1, encodeSource(*entry.source));
    return object;
}

std::optional<Source> decodeSource(const QJsonValue& value) {
    const QJsonObject object = value.toObject();
    const std::optional<QString> title = optionalString(object, "title"_L1);
    if (!value.isObject() || !title)
        return std::nullopt;
    return Source{*title, optionalString(object, "episode"_L1), optionalNumber(object, "time"_L1),
                  optionalString(object, "url"_L1), optionalString(object, "app"_L1)};
}

// Only the kind and the text are required: a missing or mistyped optional field costs that
// field, not the entry.
std::optional<Entry> decodeEntry(const QJsonValue& value) {
    if (!value.isObject())
        return std::nullopt;
    const QJsonObject object = value.toObject();
    const QString kind = object.value("kind"_L1).toString();
    const std::optional<QString> text = optionalString(object, "text"_L1);
    if ((kind != "word"_L1 && kind != "sentence"_L1) || !text || text->isEmpty())
        return std::nullopt;
    Entry entry;
    entry.kind = kind == "word"_L1 ? Vocabulary::Kind::word : Vocabulary::Kind::sentence;
    entry.text = *text;
    entry.translation = optionalString(object, "translation"_L1);
    entry.firstDate = optionalDate(object, "firstDate"_L1);
    entry.lastDate = optionalDate(object, "lastDate"_L1);
    entry.count = optionalCount(object, "count"_L1);
    entry.starred = object.value("starred"_L1).toBool(false);
    entry.source = decodeSource(object.value("source"_L1));
    return entry;
}

// Data that is no JSON array (cut short, or damaged): every outermost {…} is tried on its own.
// An object still open at the end counts towards the total but cannot be read.
Decoded salvage(const QByteArray& data) {
    Decoded decoded;
    decoded.intact = false;
    qsizetype depth = 0;
    qsizetype start = 0;
    bool inString = false;
    bool escaped = false;
    for (qsizetype i = 0; i < data.size(); ++i) {
        const char c = data[i];
        if (inString) {
            if (escaped)
                escaped = false;
            else if (c == '\\')
                escaped = true;
            else if (c == '"')
                inString = false;
        } else if (c == '"' && depth > 0) {
            inString = true;
        } else if (c == '{') {
            if (depth++ == 0) {
                start = i;
                ++decoded.total;
            }
        } else if (c == '}' && depth > 0 && --depth == 0) {
            const QJsonDocument document =
                QJsonDocument::fromJson(data.sliced(start, i - start + 1));
            if (std::optional<Entry> entry = decodeEntry(document.object()))
                decoded.entries.append(std::move(*entry));
        }
    }
    return decoded;
}

std::optional<QJsonArray> array(const QByteArray& data) {
    QJsonParseError error;
    const QJsonDocument document = QJsonDocument::fromJson(data, &error);
    if (error.error != QJsonParseError::NoError || !document.isArray())
        return std::nullopt;
    return document.array();
}

} // namespace

double secondsFromDate(const QDateTime& date) {
    return static_cast<double>(referenceDate().msecsTo(date)) / 1000.0;
}

std::optional<QDateTime> dateFromSeconds(double seconds) {
    // Ten thousand years either side of 2001 is more than any real date needs, and keeps the
    // milliseconds well inside the whole numbers a double holds exactly.
    constexpr double limit = 10'000 * 366 * 86'400.0;
    if (!(std::abs(seconds) <= limit))
        return std::nullopt;
    return referenceDate().addMSecs(std::llround(seconds * 1000.0));
}

QByteArray encode(const QList<Entry>& entries) {
    QJsonArray array;
    for (const Entry& entry : entries)
        array.append(encodeEntry(entry));
    return QJsonDocument(array).toJson(QJsonDocument::Compact);
}

QByteArray ListEncoder::encode(const QList<Entry>& entries) {
    QByteArray bytes;
    bytes.reserve(m_lastSize + 1024);
    bytes += '[';
    for (const Entry& entry : entries) {
        Encoded& encoded = m_previous[entry.text];
        if (encoded.json.isEmpty() || !(encoded.entry == entry))
            encoded = {entry, QJsonDocument(encodeEntry(entry)).toJson(QJsonDocument::Compact)};
        if (bytes.size() > 1)
            bytes += ',';
        bytes += encoded.json;
    }
    bytes += ']';
    m_lastSize = bytes.size();
    // Entries that left the list (evicted, removed) are forgotten once they are many.
    if (m_previous.size() > 2 * entries.size() + 64) {
        QHash<QString, Encoded> kept;
        for (const Entry& entry : entries)
            kept.insert(entry.text, m_previous.value(entry.text));
        m_previous = std::move(kept);
    }
    return bytes;
}

Decoded decode(const QByteArray& data) {
    const std::optional<QJsonArray> elements = array(data);
    if (!elements)
        return salvage(data);
    Decoded decoded;
    decoded.total = elements->size();
    for (const QJsonValue& element : *elements) {
        if (std::optional<Entry> entry = decodeEntry(element))
            decoded.entries.append(std::move(*entry));
    }
    decoded.intact = decoded.entries.size() == decoded.total;
    return decoded;
}

std::optional<QList<LegacyItem>> decodeWordList(const QByteArray& data) {
    const std::optional<QJsonArray> elements = array(data);
    if (!elements)
        return std::nullopt;
    QList<LegacyItem> items;
    for (const QJsonValue& element : *elements) {
        const QJsonObject object = element.toObject();
        if (std::optional<QString> term = optionalString(object, "term"_L1)) {
            items.append({*term, optionalDate(object, "firstDate"_L1),
                          optionalDate(object, "lastDate"_L1), optionalCount(object, "count"_L1)});
        }
    }
    return items;
}

std::optional<QList<LegacyItem>> decodeQueryHistory(const QByteArray& data) {
    const std::optional<QJsonArray> elements = array(data);
    if (!elements)
        return std::nullopt;
    QList<LegacyItem> items;
    for (const QJsonValue& element : *elements) {
        const QJsonObject object = element.toObject();
        if (std::optional<QString> term = optionalString(object, "term"_L1)) {
            const std::optional<QDateTime> date = optionalDate(object, "date"_L1);
            items.append({*term, date, date, 1});
        }
    }
    return items;
}

} // namespace VocabularyArchive
