#include "capture/SelectionCaptureResult.h"

using namespace Qt::StringLiterals;

namespace SelectionCapture {

QString methodWord(SelectionCaptureMethod method) {
    return method == SelectionCaptureMethod::simulatedCopy ? u"模拟复制"_s : u"直接读取"_s;
}

QString text(SelectionCaptureFailure failure) {
    switch (failure) {
    case SelectionCaptureFailure::notTrusted:
        return u"未授权辅助功能"_s;
    case SelectionCaptureFailure::sandboxed:
        return u"受沙盒限制，无法读取"_s;
    case SelectionCaptureFailure::noFocused:
        return u"应用未在限时内响应"_s;
    case SelectionCaptureFailure::secureField:
        return u"密码输入框，已跳过"_s;
    case SelectionCaptureFailure::emptyFromAX:
        return u"未选中文本"_s;
    case SelectionCaptureFailure::cancelled:
        return u"已被新的划词取代"_s;
    case SelectionCaptureFailure::copyNoChange:
        return u"模拟复制未被响应"_s;
    case SelectionCaptureFailure::copyEmpty:
        return u"模拟复制未取到文本"_s;
    }
    return {};
}

} // namespace SelectionCapture
