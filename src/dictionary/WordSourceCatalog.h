#pragma once

#include "dictionary/DictionaryEntry.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>

class QObject;

// The dictionaries a word lookup walks, in the user's order: the bundled database and the
// dictionaries installed on the system.
class WordSourceCatalog {
public:
    struct SystemDictionary {
        QString identifier;
        QString name;            // full name
        QString tabName;         // short label for its tab
        bool stubExempt = false; // its answers are never cross-reference stubs
    };

    virtual ~WordSourceCatalog() = default;

    // Source identifiers in lookup order; "bundled" names the built-in database.
    virtual QStringList effectiveDictionaryOrder() const = 0;
    // Whether that order begins with "bundled", when that is known without listing the
    // system's dictionaries; false when unsure.
    virtual bool bundledComesFirst() const { return false; }
    // The active system dictionaries, or nothing when they cannot be read one by one (then
    // the whole-system definition stands in for all of them).
    virtual std::optional<QList<SystemDictionary>> activeDictionaries() const = 0;
    // One dictionary's plain-text definition of a term.
    virtual std::optional<QString> definition(const SystemDictionary& dictionary,
                                              const QString& term) const = 0;
    virtual std::optional<QString> wholeSystemDefinition(const QString& term) const = 0;
    virtual QList<DictionaryEntry> parseDefinition(const QString& text,
                                                   const QString& fallbackHeadword) const = 0;
    // A bilingual dictionary that glosses English in Chinese. Callers ask freely: the
    // catalog judges each version of a dictionary once.
    virtual bool givesChineseGloss(const QString& identifier) const = 0;
    // Calls `listener` on `context`'s thread whenever the installed dictionaries may have
    // changed, for as long as `context` lives; catalogs that cannot tell never call it.
    virtual void whenChanged(QObject* /*context*/, std::function<void()> /*listener*/) const {}
};

// Only the bundled database answers: for callers that leave the system's dictionaries out.
class BundledOnlyCatalog final : public WordSourceCatalog {
public:
    QStringList effectiveDictionaryOrder() const override;
    std::optional<QList<SystemDictionary>> activeDictionaries() const override;
    std::optional<QString> definition(const SystemDictionary&, const QString&) const override;
    std::optional<QString> wholeSystemDefinition(const QString&) const override;
    QList<DictionaryEntry> parseDefinition(const QString&, const QString&) const override;
    bool givesChineseGloss(const QString&) const override;
};
