#include "dictionary/DictionaryListing.h"

#include "dictionary/SystemDictionaries.h"
#include "dictionary/WordSourceCatalog.h"
#include "settings/DictionaryOrder.h"

DictionaryListing DictionaryListing::of(const WordSourceCatalog& catalog,
                                        const QStringList& removed) {
    DictionaryListing listing;
    const std::optional<QList<WordSourceCatalog::SystemDictionary>> active =
        catalog.activeDictionaries();
    listing.readsEachDictionary = active.has_value();
    QList<SystemDictionaryBridge::Handle> handles;
    QStringList installed{DictionaryOrder::bundled()};
    for (const WordSourceCatalog::SystemDictionary& dictionary :
         active.value_or(QList<WordSourceCatalog::SystemDictionary>())) {
        handles.append({dictionary.identifier, dictionary.name, {}, {}});
        installed.append(dictionary.identifier);
    }
    const auto row = [&](const QString& identifier, bool present) {
        // The built-in database is English–Chinese; an absent dictionary cannot be asked.
        const bool gloss = identifier == DictionaryOrder::bundled() ||
                           (present && catalog.givesChineseGloss(identifier));
        return Row{identifier, SystemDictionaries::displayName(identifier, handles), gloss,
                   present};
    };
    for (const QString& identifier : catalog.effectiveDictionaryOrder())
        listing.order.append(row(identifier, true));
    // Without the list of dictionaries, nothing says one is gone.
    for (const QString& identifier : removed)
        listing.removed.append(
            row(identifier, !listing.readsEachDictionary || installed.contains(identifier)));
    return listing;
}
