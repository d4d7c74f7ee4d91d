#include "platform/PlatformTexts.h"

using namespace Qt::StringLiterals;

namespace PlatformTexts {

QString translationAssetsMissing() {
    return u"整句翻译需要 macOS 语言包，可在「设置 › 词典与翻译」下载。"_s;
}

} // namespace PlatformTexts
