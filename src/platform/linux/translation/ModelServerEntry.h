#pragma once

#include "platform/TranslationEngineFactory.h"

#include <QtGlobal>

// The one symbol of the model-server library that its opener looks up: a new engine for a
// waiter (TranslationEngineFactory::Waiter as an int), owned by the caller.
extern "C" Q_DECL_EXPORT TranslationEngine* quillet_open_model_server(TranslationSettings* settings,
                                                                      EventLog* log, int waiter);
