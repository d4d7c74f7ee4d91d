#include "platform/linux/translation/ModelServerEntry.h"

#include "LocalModelTranslationEngine.h"
#include "logs/EventLog.h"
#include "settings/TranslationSettings.h"

extern "C" TranslationEngine* quillet_open_model_server(TranslationSettings* settings,
                                                        EventLog* log, int waiter) {
    const auto timing = waiter == int(TranslationEngineFactory::Waiter::commandLine)
                            ? LocalModelTranslationEngine::Timing::commandLine()
                            : LocalModelTranslationEngine::Timing::standard();
    return new LocalModelTranslationEngine(*settings, *log, timing);
}
