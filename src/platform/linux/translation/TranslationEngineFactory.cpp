#include "platform/TranslationEngineFactory.h"

#include "LocalModelTranslationEngine.h"
#include "settings/EventLog.h"
#include "settings/TranslationSettings.h"

namespace TranslationEngineFactory {

std::unique_ptr<TranslationEngine> create(Waiter waiter) {
    return std::make_unique<LocalModelTranslationEngine>(
        TranslationSettings::shared(), EventLog::shared(),
        waiter == Waiter::commandLine ? LocalModelTranslationEngine::Timing::commandLine()
                                      : LocalModelTranslationEngine::Timing::standard());
}

} // namespace TranslationEngineFactory
