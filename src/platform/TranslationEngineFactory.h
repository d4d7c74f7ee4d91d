#pragma once

#include <memory>

class EventLog;
class TranslationEngine;
class TranslationSettings;

// The sentence translator of this platform, set up from the user's settings.
namespace TranslationEngineFactory {

// Who waits for the translations: a command is given up on a server that stopped answering
// sooner than the agent, whose lookups a newer one replaces anyway.
enum class Waiter { agent, commandLine };

std::unique_ptr<TranslationEngine> create(TranslationSettings& settings, EventLog& log,
                                          Waiter waiter = Waiter::agent);

} // namespace TranslationEngineFactory
