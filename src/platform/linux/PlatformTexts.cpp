#include "platform/PlatformTexts.h"

using namespace Qt::StringLiterals;

namespace PlatformTexts {

QString translationAssetsMissing() {
    return u"整句翻译需要本地翻译模型，可在「设置 › 词典与翻译」下载。"_s;
}

} // namespace PlatformTexts
