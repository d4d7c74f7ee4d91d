#include "dictionary/WordSourceCatalog.h"

using namespace Qt::StringLiterals;

QStringList BundledOnlyCatalog::effectiveDictionaryOrder() const {
    return {u"bundled"_s};
}

std::optional<QList<WordSourceCatalog::SystemDictionary>>
BundledOnlyCatalog::activeDictionaries() const {
    return QList<SystemDictionary>{};
}

std::optional<QString> BundledOnlyCatalog::definition(const SystemDictionary&,
                                                      const QString&) const {
    return std::nullopt;
}

std::optional<QString> BundledOnlyCatalog::wholeSystemDefinition(const QString&) const {
    return std::nullopt;
}

QList<DictionaryEntry> BundledOnlyCatalog::parseDefinition(const QString&, const QString&) const {
    return {};
}

bool BundledOnlyCatalog::givesChineseGloss(const QString&) const {
    return false;
}
