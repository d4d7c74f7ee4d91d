#include "core/OnDemandFailure.h"

using namespace Qt::StringLiterals;

namespace OnDemandFailures {

QString text(OnDemandFailure failure) {
    switch (failure) {
    case OnDemandFailure::nothingSelected:
        return u"先选中要查的英文"_s;
    case OnDemandFailure::unreadable:
        return u"未能读取选中的文本"_s;
    case OnDemandFailure::copyNoChange:
        return u"模拟复制未被响应"_s;
    case OnDemandFailure::copyEmpty:
        return u"模拟复制未取到文本"_s;
    case OnDemandFailure::superseded:
        return u"已被新的划词取代"_s;
    case OnDemandFailure::secretLike:
        return u"可能是密码或密钥"_s;
    case OnDemandFailure::notTrusted:
        return u"未授权辅助功能"_s;
    case OnDemandFailure::sandboxed:
        return u"受沙盒限制，无法读取"_s;
    case OnDemandFailure::noAnswer:
        return u"应用未在限时内响应"_s;
    case OnDemandFailure::passwordField:
        return u"密码输入框，已跳过"_s;
    case OnDemandFailure::passwordManager:
        return u"来自密码管理器"_s;
    }
    return {};
}

OnDemandFailure from(SelectionCaptureFailure failure) {
    switch (failure) {
    case SelectionCaptureFailure::notTrusted:
        return OnDemandFailure::notTrusted;
    case SelectionCaptureFailure::sandboxed:
        return OnDemandFailure::sandboxed;
    case SelectionCaptureFailure::noFocused:
        return OnDemandFailure::noAnswer;
    case SelectionCaptureFailure::secureField:
        return OnDemandFailure::passwordField;
    case SelectionCaptureFailure::emptyFromAX:
        return OnDemandFailure::nothingSelected;
    case SelectionCaptureFailure::cancelled:
        return OnDemandFailure::superseded;
    case SelectionCaptureFailure::copyNoChange:
        return OnDemandFailure::copyNoChange;
    case SelectionCaptureFailure::copyEmpty:
        return OnDemandFailure::copyEmpty;
    }
    return OnDemandFailure::unreadable;
}

} // namespace OnDemandFailures
