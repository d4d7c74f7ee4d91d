#include "lookup/TranslationEngine.h"

using namespace Qt::StringLiterals;

QString assetStatusWords(TranslationAssetStatus status) {
    switch (status) {
    case TranslationAssetStatus::installed:
        return u"已就绪"_s;
    case TranslationAssetStatus::supportedNotDownloaded:
        return u"模型未下载"_s;
    case TranslationAssetStatus::unsupported:
        break;
    }
    return u"连不上翻译服务"_s;
}
