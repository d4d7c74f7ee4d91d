#pragma once

#include "platform/TranslationEngineFactory.h"

#include <memory>

class TranslationEngine;

// How sentences are translated: this platform's translator when it is there, otherwise the
// word-by-word gloss of the bundled database.
std::unique_ptr<TranslationEngine> makeSentenceTranslator(
    TranslationEngineFactory::Waiter waiter = TranslationEngineFactory::Waiter::agent);
