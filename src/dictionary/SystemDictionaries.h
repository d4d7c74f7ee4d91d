#pragma once

#include "platform/SystemDictionaryBridge.h"

#include <QList>
#include <QString>
#include <QStringList>

// The dictionaries installed on the system as the rest of the program sees them: which are
// active, which gloss English in Chinese, and what they are called. Everything but
// openDictionarySettings may be called from any thread.
namespace SystemDictionaries {

QStringList activeIdentifiers();

// Whether a dictionary is a bilingual one that glosses English in Chinese: a known one, or
// one whose entry for "water" has an English headword and Chinese outside 〈…〉 labels. Asks
// the dictionary every time; callers cache.
bool givesChineseGloss(const QString& identifier);
bool givesChineseGloss(const SystemDictionaryBridge::Handle& handle);

// The short label on a source's tab in the panel.
QString tabName(const QString& identifier, const QString& fullName);
// The name in settings and lists; `active` supplies the names of dictionaries without one of
// their own here.
QString displayName(const QString& identifier, const QList<SystemDictionaryBridge::Handle>& active);
QString displayName(const QString& identifier);

// Brings up the place where the user manages dictionaries; returns at once. When nothing can
// show it, the event log says so. Main thread only.
void openDictionarySettings();

} // namespace SystemDictionaries
