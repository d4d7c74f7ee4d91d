#include "filter/RejectReason.h"

#include <QStringView>

namespace RejectReasons {
namespace {

struct Words {
    QStringView caseName;
    QStringView description; // event log
    QStringView userFacing;  // panel
};

// Indexed by raw value.
constexpr Words kWords[] = {
    {u"empty", u"空内容", u"剪贴板里没有可查的文本"},
    {u"concealed", u"密码管理器来源", u"来自密码管理器"},
    {u"remoteClipboard", u"来自其他设备", u"来自其他设备"},
    {u"tooLong", u"文本过长", u"超出翻译上限"},
    {u"duplicate", u"与上次相同", u"和上一次复制的内容相同"},
    {u"urlOrPath", u"疑似 URL / 文件路径", u"看起来是网址或文件路径"},
    {u"sharedLink", u"分享文本", u"看起来是分享的链接"},
    {u"secretLike", u"疑似密码 / 密钥", u"可能是密码或密钥"},
    {u"notEnglish", u"不是英文", u"不是英文"},
    {u"codeIdentifier", u"代码标识符", u"看起来是代码"},
};

const Words& wordsOf(RejectReason reason) {
    return kWords[rawValue(reason)];
}

} // namespace

std::optional<RejectReason> fromRawValue(int raw) {
    if (raw < 0 || raw >= static_cast<int>(std::size(kWords)))
        return std::nullopt;
    return static_cast<RejectReason>(raw);
}

QString caseName(RejectReason reason) {
    return wordsOf(reason).caseName.toString();
}

QString description(RejectReason reason) {
    return wordsOf(reason).description.toString();
}

QString userFacing(RejectReason reason) {
    return wordsOf(reason).userFacing.toString();
}

bool keepsNoCopy(RejectReason reason) {
    return reason == RejectReason::concealed || reason == RejectReason::secretLike;
}

} // namespace RejectReasons
