#pragma once

#include "filter/QueryKind.h"
#include "filter/RejectReason.h"
#include "lookup/LookupError.h"
#include "lookup/LookupResult.h"

#include <QByteArray>
#include <QString>

// How command-line answers read: plain Chinese text for people, one JSON object for scripts.
namespace ResultRendering {

QString plain(const LookupResult& result);
QByteArray json(const LookupResult& result);

// Every dictionary's answer for one word, one block per source.
QString plain(const QString& term, const QList<LookupResult::Source>& sources);
QByteArray json(const QString& term, const QList<LookupResult::Source>& sources);

// The filter's own words for the refusal of `text`; an over-long text also gets the limit and
// its length (a second line in plain text).
QString plain(RejectReason reason, QStringView text);
QByteArray json(RejectReason reason, QStringView text);

QString plain(const LookupError& error);
QByteArray json(const LookupError& error);

QString plain(QueryKind kind);
QByteArray json(QueryKind kind);

} // namespace ResultRendering
