#pragma once

#include "dictionary/WordSourceCatalog.h"

#include <QHash>
#include <mutex>

class Preferences;

// The dictionaries a lookup walks: the user's order from the preferences, the dictionaries
// installed on the system, and the reader of their definitions.
class SystemDictionaryCatalog final : public WordSourceCatalog {
public:
    explicit SystemDictionaryCatalog(const Preferences& preferences);

    QStringList effectiveDictionaryOrder() const override;
    bool bundledComesFirst() const override;
    std::optional<QList<SystemDictionary>> activeDictionaries() const override;
    std::optional<QString> definition(const SystemDictionary& dictionary,
                                      const QString& term) const override;
    std::optional<QString> wholeSystemDefinition(const QString& term) const override;
    QList<DictionaryEntry> parseDefinition(const QString& text,
                                           const QString& fallbackHeadword) const override;
    bool givesChineseGloss(const QString& identifier) const override;
    void whenChanged(QObject* context, std::function<void()> listener) const override;

private:
    struct Verdict {
        QString version; // of the dictionary's files when it was judged
        bool chineseGloss = false;
    };

    const Preferences& m_preferences;
    // Judging a dictionary asks it for a word; asked again only when its files change.
    mutable std::mutex m_verdictsMutex;
    mutable QHash<QString, Verdict> m_verdicts;
};
