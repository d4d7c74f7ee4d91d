#include "core/RejectReason.h"

using namespace Qt::StringLiterals;

namespace RejectReasons {

std::optional<RejectReason> fromRawValue(int raw) {
    if (raw < rawValue(RejectReason::empty) || raw > rawValue(RejectReason::codeIdentifier))
        return std::nullopt;
    return static_cast<RejectReason>(raw);
}

QString caseName(RejectReason reason) {
    switch (reason) {
    case RejectReason::empty:
        return u"empty"_s;
    case RejectReason::concealed:
        return u"concealed"_s;
    case RejectReason::remoteClipboard:
        return u"remoteClipboard"_s;
    case RejectReason::tooLong:
        return u"tooLong"_s;
    case RejectReason::duplicate:
        return u"duplicate"_s;
    case RejectReason::urlOrPath:
        return u"urlOrPath"_s;
    case RejectReason::sharedLink:
        return u"sharedLink"_s;
    case RejectReason::secretLike:
        return u"secretLike"_s;
    case RejectReason::notEnglish:
        return u"notEnglish"_s;
    case RejectReason::codeIdentifier:
        return u"codeIdentifier"_s;
    }
    return {};
}

QString description(RejectReason reason) {
    switch (reason) {
    case RejectReason::empty:
        return u"空内容"_s;
    case RejectReason::concealed:
        return u"密码管理器来源"_s;
    case RejectReason::remoteClipboard:
        return u"来自其他设备"_s;
    case RejectReason::tooLong:
        return u"文本过长"_s;
    case RejectReason::duplicate:
        return u"与上次相同"_s;
    case RejectReason::urlOrPath:
        return u"疑似 URL / 文件路径"_s;
    case RejectReason::sharedLink:
        return u"分享文本"_s;
    case RejectReason::secretLike:
        return u"疑似密码 / 密钥"_s;
    case RejectReason::notEnglish:
        return u"不是英文"_s;
    case RejectReason::codeIdentifier:
        return u"代码标识符"_s;
    }
    return {};
}

QString userFacing(RejectReason reason) {
    switch (reason) {
    case RejectReason::empty:
        return u"剪贴板里没有可查的文本"_s;
    case RejectReason::concealed:
        return u"来自密码管理器"_s;
    case RejectReason::remoteClipboard:
        return u"来自其他设备"_s;
    case RejectReason::tooLong:
        return u"超出翻译上限"_s;
    case RejectReason::duplicate:
        return u"和上一次复制的内容相同"_s;
    case RejectReason::urlOrPath:
        return u"看起来是网址或文件路径"_s;
    case RejectReason::sharedLink:
        return u"看起来是分享的链接"_s;
    case RejectReason::secretLike:
        return u"可能是密码或密钥"_s;
    case RejectReason::notEnglish:
        return u"不是英文"_s;
    case RejectReason::codeIdentifier:
        return u"看起来是代码"_s;
    }
    return {};
}

bool keepsNoCopy(RejectReason reason) {
    return reason == RejectReason::concealed || reason == RejectReason::secretLike;
}

} // namespace RejectReasons
