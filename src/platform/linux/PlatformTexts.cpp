#include "platform/PlatformTexts.h"

using namespace Qt::StringLiterals;

namespace PlatformTexts {

QString translationAssetsMissing() {
    return u"整句翻译需要本地翻译模型，可在「设置 › 词典与翻译」下载。"_s;
}

QString accessibilityGrantNote() {
    return u"桌面的辅助功能已打开；在此之前启动的应用要重新启动后才能读取选中的文字。"_s;
}

QString accessibilityRequestNote(bool asked) {
    return asked
               ? u"已经请求过，但仍未开启：请在桌面的辅助功能设置里打开它（GNOME：设置 › 辅助功能），或运行 gsettings set org.gnome.desktop.interface toolkit-accessibility true。"_s
               : u"点「开启」会打开整个桌面的辅助功能；在此之前启动的应用要重新启动后才能被读取。"_s;
}

QString permissionSettingsHint(bool accessibility) {
    return accessibility
               ? u"权限｜辅助功能由桌面的辅助功能开关控制（GNOME：设置 › 辅助功能；也可运行 gsettings set org.gnome.desktop.interface toolkit-accessibility true）"_s
               : u"权限｜X11 桌面无需屏幕录制授权"_s;
}

QString addingDictionaries() {
    return u"把 StarDict 格式的词典（.ifo、.idx 和 .dict 或 .dict.dz 文件，可以放在子文件夹里）"
           u"复制到下面你自己的文件夹；dictd 词典用软件包安装，例如 sudo apt install dict-gcide "
           u"dict-wn。新装的词典会自动排到列表末尾。"_s;
}

QString recognitionDataMissing() {
    return u"未安装英文文字识别数据（tesseract-ocr-eng），悬停取词只能读取支持辅助功能的程序，框选查询暂不可用"_s;
}

} // namespace PlatformTexts
