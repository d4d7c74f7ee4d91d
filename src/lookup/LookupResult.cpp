#include "lookup/LookupResult.h"

#include <QStringList>

using namespace Qt::StringLiterals;

LookupResult::Source LookupResult::translationSource() {
    return Source{.id = u"translation"_s, .shortName = u"翻译"_s, .name = u"本地翻译"_s};
}

LookupResult::Source LookupResult::glossSource() {
    return Source{.id = u"gloss"_s, .shortName = u"逐词释义"_s, .name = u"逐词释义"_s};
}

LookupResult LookupResult::dictionaryAnswer(QString term, Source source) {
    LookupResult result;
    result.term = std::move(term);
    result.source = std::move(source);
    result.payload = Payload::dictionary;
    return result;
}

LookupResult LookupResult::translated(QString term, QString translation,
                                      std::optional<QString> phonetic) {
    LookupResult result;
    result.term = std::move(term);
    result.source = translationSource();
    result.translation = std::move(translation);
    result.phonetic = std::move(phonetic);
    result.payload = Payload::translation;
    return result;
}

LookupResult LookupResult::glossed(QString term, const Gloss& gloss,
                                   std::optional<QString> phonetic) {
    LookupResult result;
    result.term = std::move(term);
    result.source = glossSource();
    result.translation = gloss.line();
    result.phonetic = std::move(phonetic);
    result.payload = Payload::gloss;
    result.glossPieces = gloss.pieces;
    return result;
}

std::optional<QString> LookupResult::copyAllText() const {
    if (!isDictionaryAnswer()) {
        if (translation.isEmpty())
            return std::nullopt;
        return translation;
    }
    QStringList blocks;
    for (const DictionaryEntry& entry : source.entries)
        blocks.append(entry.copyText(entry.displayHeadword()));
    if (blocks.isEmpty())
        return std::nullopt;
    return blocks.join(u"\n\n"_s);
}
