#include "app/wiring/SentenceTranslator.h"

#include "dictionary/BundledDictionary.h"
#include "dictionary/PhraseBook.h"
#include "logs/EventLog.h"
#include "lookup/GlossFallbackTranslationEngine.h"
#include "lookup/GlossTranslationEngine.h"
#include "settings/TranslationSettings.h"

std::unique_ptr<TranslationEngine> makeSentenceTranslator(TranslationEngineFactory::Waiter waiter) {
    return std::make_unique<GlossFallbackTranslationEngine>(
        TranslationEngineFactory::create(TranslationSettings::shared(), EventLog::shared(), waiter),
        std::make_unique<GlossTranslationEngine>(BundledDictionary::shared(),
                                                 PhraseBook::shared()));
}
