#pragma once

#include <QString>
#include <variant>

// Turns ECDICT's `stardict` table into the program's word database: `words` holds the
// single-token headwords a lookup can reach, lower-cased; `forms` maps inflected forms
// (from ECDICT's `exchange` column) to those headwords; `phrases` holds the headwords of
// several words (phrasal verbs, idioms, compound nouns) under a lower-cased key.
namespace EcdictConverter {

struct Summary {
    qint64 sourceRows = 0; // rows read from `stardict`
    qint64 words = 0;
    qint64 forms = 0;
    qint64 phrases = 0;
    qint64 acronymRowsReplaced = 0; // acronym rows that gave way to a plural or the like
    qint64 fileBytes = 0;
};

struct Failure {
    QString message;
};

// Builds into "<destination>.tmp" and renames it over `destination` only when complete,
// so an existing database is never left half-written.
std::variant<Summary, Failure> convert(const QString& source, const QString& destination);

} // namespace EcdictConverter
