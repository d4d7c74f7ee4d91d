#pragma once

#include <QString>

// User-visible texts that name a platform's own facility; each OS supplies its wording.
namespace PlatformTexts {

// Shown when a sentence cannot be translated because the on-device translation assets
// are missing.
QString translationAssetsMissing();

} // namespace PlatformTexts
