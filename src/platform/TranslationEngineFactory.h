#pragma once

#include "core/TranslationEngine.h"

#include <memory>

// The sentence translator of this platform, set up from the user's settings.
namespace TranslationEngineFactory {

// Who waits for the translations: a command is given up on a server that stopped answering
// sooner than the agent, whose lookups a newer one replaces anyway.
enum class Waiter { agent, commandLine };

std::unique_ptr<TranslationEngine> create(Waiter waiter = Waiter::agent);

} // namespace TranslationEngineFactory
