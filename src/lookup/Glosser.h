#pragma once

#include "lookup/Gloss.h"

#include <QStringView>

class BundledDictionary;
class PhraseBook;

// Reads English text word by word against the bundled database: at each word the longest
// phrase that starts there (its words matched as written or as their dictionary form, so
// "gave up" finds "give up" and "makes up her mind" finds "make up one's mind"), else the word
// itself. Numbers, names and words the database does not know are left as they stand.
// Stateless; safe on any thread, as its two sources are.
class Glosser {
public:
    Glosser(const BundledDictionary& words, const PhraseBook& phrases);

    Gloss gloss(QStringView text) const;

private:
    const BundledDictionary& m_words;
    const PhraseBook& m_phrases;
};
