#include "platform/TranslationEngineFactory.h"

#include "LocalModelTranslationEngine.h"
#include "settings/EventLog.h"
#include "settings/TranslationSettings.h"

namespace TranslationEngineFactory {

std::unique_ptr<TranslationEngine> create() {
    return std::make_unique<LocalModelTranslationEngine>(
        TranslationSettings::shared(), EventLog::shared(),
        LocalModelTranslationEngine::Timing::standard());
}

} // namespace TranslationEngineFactory
