#pragma once

#include "filter/QueryKind.h"
#include "filter/RejectReason.h"

#include <QSet>
#include <QString>
#include <QStringList>

// Pure rules that decide whether a captured text is worth looking up.
namespace TextFilter {

// Reasons that "filter.showsEverything" lets through for copied text.
const QSet<RejectReason>& ignorable();

QueryKind kind(QStringView text);
bool looksLikeURLOrPath(QStringView text);
bool looksLikeSharedLink(QStringView text);
bool looksLikeEnglish(QStringView text);
bool hasSecretPrefix(QStringView text);
bool looksLikeCodeIdentifier(QStringView text);
bool looksLikeIdentifier(QStringView text);
bool looksLikeSecret(QStringView text);
// One character (grapheme cluster) that holds a CJK ideograph.
bool isCJK(QStringView character);
qsizetype englishWordCount(QStringView text);
QStringList identifierSegments(QStringView text);

} // namespace TextFilter
