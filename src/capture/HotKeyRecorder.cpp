#include "capture/HotKeyRecorder.h"

#include "platform/HotKeyNames.h"

#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr quint32 kEscape = 53;
constexpr quint32 kModifierBits =
    HotKeySpec::command | HotKeySpec::shift | HotKeySpec::option | HotKeySpec::control;

} // namespace

HotKeyRecorder::HotKeyRecorder(std::optional<HotKeySpec> combination, IsAvailable isAvailable)
    : m_combination(combination), m_isAvailable(std::move(isAvailable)) {}

void HotKeyRecorder::startRecording() {
    m_recording = true;
    m_message.clear();
}

HotKeyRecorder::Outcome HotKeyRecorder::keyPress(quint32 keyCode, quint32 modifiers) {
    if (!m_recording)
        return Outcome::ignored;
    if (keyCode == kEscape && (modifiers & kModifierBits) == 0) {
        m_recording = false;
        m_message.clear();
        return Outcome::cancelled;
    }
    const std::optional<HotKeySpec> spec = HotKeySpec::fromKeyPress(keyCode, modifiers);
    if (!spec) {
        m_message = HotKeyNames::modifierRequired();
        return Outcome::refused;
    }
    if (!m_isAvailable(*spec)) {
        m_message = spec->displayName() + u" 已被占用"_s;
        return Outcome::taken;
    }
    m_combination = spec;
    m_recording = false;
    m_message.clear();
    return Outcome::stored;
}

QString HotKeyRecorder::hint() const {
    return m_recording ? u"按下所需组合，按 Esc 取消"_s : u"点按后按下所需组合"_s;
}

std::optional<HotKeyRecorder::Warning> HotKeyRecorder::warning(bool registered) const {
    if (m_recording || !m_combination || registered)
        return std::nullopt;
    return Warning{u"已被其他 App 占用"_s,
                   u"该组合已被其他 App 占用，按下不会有响应。请更换组合。"_s};
}
