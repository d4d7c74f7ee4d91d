#include "capture/HotKeyCenter.h"

#include "logs/EventLog.h"
#include "platform/GlobalHotKeys.h"

#include <QCoreApplication>
#include <QTimer>

using namespace Qt::StringLiterals;

HotKeyCenter::HotKeyCenter(GlobalHotKeys& system, EventLog& log) : m_system(system), m_log(log) {}

HotKeyCenter::~HotKeyCenter() {
    *m_alive = false;
    for (auto it = m_specs.cbegin(); it != m_specs.cend(); ++it)
        m_system.remove(it.key());
}

QString HotKeyCenter::slotName(HotKeySlotID slot) {
    switch (slot) {
    case HotKeySlotID::lookup:
        return u"快捷键查询"_s;
    case HotKeySlotID::previousSubtitle:
        return u"上一句字幕"_s;
    case HotKeySlotID::nextSubtitle:
        return u"下一句字幕"_s;
    }
    return {};
}

bool HotKeyCenter::installHandlerIfNeeded() {
    if (m_installed)
        return true;
    int status = 0;
    const std::weak_ptr<bool> alive = m_alive;
    m_installed = m_system.install(
        [this, alive](quint32 pressSignature, quint32 id) {
            if (alive.lock())
                dispatch(pressSignature, id);
        },
        status);
    if (!m_installed)
        m_log.append(EventLog::Kind::error, u"快捷键事件处理器安装失败（%1）"_s.arg(status));
    return m_installed;
}

bool HotKeyCenter::bind(HotKeySlotID slot, const std::optional<HotKeySpec>& spec, bool logs,
                        std::function<void()> action) {
    m_configured = true;
    const quint32 id = quint32(slot);
    if (m_specs.remove(id))
        m_system.remove(id);
    m_actions.remove(id);
    if (!spec || !installHandlerIfNeeded())
        return false;

    m_actions.insert(id, std::move(action));
    const int status = m_system.add(signature, id, spec->keyCode, spec->modifiers);
    if (status == 0) {
        m_specs.insert(id, *spec);
        if (logs)
            m_log.append(EventLog::Kind::trigger, u"快捷键 "_s + spec->displayName() +
                                                      u" 已就绪（"_s + slotName(slot) + u"）"_s);
        return true;
    }
    m_actions.remove(id);
    m_log.append(EventLog::Kind::error, u"快捷键 "_s + spec->displayName() + u" 注册失败（"_s +
                                            QString::number(status) +
                                            u"），可能已被其它 App 占用"_s);
    return false;
}

bool HotKeyCenter::isRegistered(HotKeySlotID slot, const HotKeySpec& spec) const {
    const auto it = m_specs.constFind(quint32(slot));
    return it != m_specs.cend() && *it == spec;
}

bool HotKeyCenter::isAvailable(const HotKeySpec& spec, std::optional<HotKeySlotID> ignoring) const {
    if (ignoring && isRegistered(*ignoring, spec))
        return true;
    for (const HotKeySpec& registered : m_specs)
        if (registered == spec)
            return false;
    // Another program may hold it: only trying tells.
    if (m_system.add(signature, probeId, spec.keyCode, spec.modifiers) != 0)
        return false;
    m_system.remove(probeId);
    return true;
}

int HotKeyCenter::dispatch(quint32 pressSignature, quint32 id) {
    if (pressSignature != signature)
        return notHandled;
    const auto it = m_actions.constFind(id);
    if (it == m_actions.cend())
        return notHandled;
    // The action may be long (a capture); the window system's event handling goes on.
    const std::weak_ptr<bool> alive = m_alive;
    QTimer::singleShot(0, QCoreApplication::instance(), [this, alive, id] {
        if (!alive.lock())
            return;
        if (const auto action = m_actions.value(id))
            action();
    });
    return 0;
}
