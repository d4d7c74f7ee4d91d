#include "lookup/LookupError.h"

#include "platform/PlatformTexts.h"

using namespace Qt::StringLiterals;

LookupError LookupError::translationFailed() {
    return message(u"未能翻译，请再试一次。"_s);
}

LookupError LookupError::translationAssetsMissing() {
    return message(PlatformTexts::translationAssetsMissing());
}

QString LookupError::localizedDescription() const {
    if (m_kind == Kind::notFound)
        return u"词典和翻译里都没有「"_s + m_payload + u"」。"_s;
    return m_payload;
}
