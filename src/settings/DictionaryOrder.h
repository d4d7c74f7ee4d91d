#pragma once

#include <QSet>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

// Pure rules for the order in which dictionary sources answer. Identifiers: "bundled" for the
// built-in database, the system dictionary's identifier otherwise.
namespace DictionaryOrder {

using IsChineseEnglish = std::function<bool(const QString& identifier)>;

QString bundled(); // "bundled"
// The platform's general dictionary, always placed last.
QString generalDictionary(); // "com.apple.dictionary.AppleDictionary"

QStringList defaultOrder(const QStringList& active, const IsChineseEnglish& isChineseEnglish);
// From the older single choice "dictionarySource" ("systemAny", "bundledFirst").
QStringList migrated(const std::optional<QString>& legacy, const QStringList& active,
                     const IsChineseEnglish& isChineseEnglish);
QStringList resolve(const QStringList& saved, const QSet<QString>& removed,
                    const QStringList& active);
// The order to save once the user has arranged the shown sources (the resolved order) as
// `shown`. Saved entries not shown (removed, or not installed now) stay behind the shown
// entry they followed, so each comes back where it was.
QStringList arranged(const QStringList& saved, const QStringList& shown);

} // namespace DictionaryOrder
