#pragma once

#include "dictionary/formats/DictionaryDefect.h"

#include <QString>
#include <QStringList>

// One dictionary installed on the system, opened for lookups. Not thread-safe: the shelf
// that owns it serialises calls.
class InstalledDictionary {
public:
    virtual ~InstalledDictionary() = default;

    // Its full name, and its own short name where the format has one (else empty).
    virtual QString name() const = 0;
    virtual QString shortName() const = 0;
    // The plain text of every entry for `word`, in dictionary order; empty when there is none
    // or the text cannot be read this time. A defect means the files turned out unusable and
    // the dictionary should not be asked again.
    virtual OrDefect<QStringList> definitions(const QString& word) = 0;
};
