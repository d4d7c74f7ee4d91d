#include "filter/TranslationLimit.h"

using namespace Qt::StringLiterals;

namespace TranslationLimits {

QString rawValue(TranslationLimit limit) {
    return limit == TranslationLimit::long_ ? u"long"_s : u"standard"_s;
}

std::optional<TranslationLimit> fromRawValue(const QString& raw) {
    if (raw == u"standard")
        return TranslationLimit::standard;
    if (raw == u"long")
        return TranslationLimit::long_;
    return std::nullopt;
}

} // namespace TranslationLimits
