#pragma once

#include "core/LookupError.h"
#include "core/LookupResult.h"
#include "core/QueryKind.h"
#include "core/RejectReason.h"

#include <QByteArray>
#include <QString>

// How command-line answers read: plain Chinese text for people, one JSON object for scripts.
namespace ResultRendering {

QString plain(const LookupResult& result);
QByteArray json(const LookupResult& result);

// Every dictionary's answer for one word, one block per source.
QString plain(const QString& term, const QList<LookupResult::Source>& sources);
QByteArray json(const QString& term, const QList<LookupResult::Source>& sources);

QString plain(RejectReason reason);
QByteArray json(RejectReason reason);

QString plain(const LookupError& error);
QByteArray json(const LookupError& error);

QString plain(QueryKind kind);
QByteArray json(QueryKind kind);

} // namespace ResultRendering
