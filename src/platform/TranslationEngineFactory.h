#pragma once

#include "core/TranslationEngine.h"

#include <memory>

// The sentence translator of this platform, set up from the user's settings.
namespace TranslationEngineFactory {

std::unique_ptr<TranslationEngine> create();

} // namespace TranslationEngineFactory
