#pragma once

#include <QString>
#include <optional>

// The largest text that may be looked up. (`long` is a C++ keyword, hence `long_`.)
enum class TranslationLimit { standard, long_ };

namespace TranslationLimits {
constexpr qsizetype characterLimit(TranslationLimit limit) {
    return limit == TranslationLimit::long_ ? 5000 : 2000;
}
QString rawValue(TranslationLimit limit);
std::optional<TranslationLimit> fromRawValue(const QString& raw);
} // namespace TranslationLimits
