#include "platform/PlatformTexts.h"

using namespace Qt::StringLiterals;

namespace PlatformTexts {

QString translationAssetsMissing() {
    return u"整句翻译需要 macOS 语言包，可在「设置 › 词典与翻译」下载。"_s;
}

QString accessibilityGrantNote() {
    return {};
}

QString accessibilityRequestNote(bool asked) {
    return asked
               ? u"请在「系统设置 › 隐私与安全性 › 辅助功能」中允许 Quillet。"_s
               : u"点「开启」会打开「系统设置 › 隐私与安全性 › 辅助功能」，在那里允许 Quillet。"_s;
}

// The system settings pane always opens on macOS; this is the fallback's wording.
QString permissionSettingsHint(bool accessibility) {
    return accessibility ? u"权限｜在「系统设置 › 隐私与安全性 › 辅助功能」中授权"_s
                         : u"权限｜在「系统设置 › 隐私与安全性 › 屏幕录制」中授权"_s;
}

QString addingDictionaries() {
    return u"在「词典」App 的设置里勾选要用的词典，它们会自动排到列表末尾。"_s;
}

QString recognitionDataMissing() {
    return u"文字识别不可用，悬停取词只能读取支持辅助功能的 App，框选查询暂不可用"_s;
}

} // namespace PlatformTexts
