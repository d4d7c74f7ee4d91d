#include "platform/TranslationEngineFactory.h"

#include "lookup/UnsupportedTranslationEngine.h"

namespace TranslationEngineFactory {

// Until the system's own translation is wired in, sentences report it honestly.
std::unique_ptr<TranslationEngine> create(TranslationSettings&, EventLog& log, Waiter) {
    return std::make_unique<UnsupportedTranslationEngine>(log);
}

} // namespace TranslationEngineFactory
