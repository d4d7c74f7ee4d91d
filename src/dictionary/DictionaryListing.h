#pragma once

#include <QList>
#include <QString>
#include <QStringList>

class WordSourceCatalog;

// The dictionaries as the settings show them: the sources a word lookup walks, in order, and
// the ones the user removed, each with its name and whether it glosses English in Chinese.
struct DictionaryListing {
    struct Row {
        QString identifier;
        QString displayName;
        bool chineseGloss = false;
        bool installed = true; // a removed dictionary may since have been uninstalled
    };

    QList<Row> order;
    QList<Row> removed;
    // False where the system answers only as a whole (from its first dictionary).
    bool readsEachDictionary = true;

    static DictionaryListing of(const WordSourceCatalog& catalog, const QStringList& removed);
};
