#include "ui/TrayIcon.h"

#include "settings/TriggerSettings.h"
#include "ui/Icons.h"

using namespace Qt::StringLiterals;

TrayIcon::TrayIcon(TriggerSettings& triggers, QObject* parent)
    : QObject(parent), m_triggers(triggers) {
    m_menu.addAction(u"查询选中的文字"_s, this, &TrayIcon::lookUpSelectionRequested);
    m_menu.addAction(u"框选查询"_s, this, &TrayIcon::regionLookupRequested);
    // The notebook joins here when it exists.
    m_menu.addSeparator();
    m_pause =
        m_menu.addAction(QString(), this, [this] { m_triggers.setMuted(!m_triggers.isMuted()); });
    m_menu.addSeparator();
    m_menu.addAction(u"设置…"_s, this, &TrayIcon::settingsRequested);
    m_menu.addAction(u"事件日志…"_s, this, &TrayIcon::eventLogRequested);
    m_menu.addSeparator();
    m_menu.addAction(u"退出 Quillet"_s, this, &TrayIcon::quitRequested);
    connect(&m_triggers, &TriggerSettings::changed, this, [this](Settings::Id setting) {
        if (setting == Settings::Id::isMuted)
            showPauseState();
    });

    m_icon.setContextMenu(&m_menu);
    showPauseState();
    connect(&m_icon, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    m_menu.popup(QCursor::pos());
            });
}

void TrayIcon::show() {
    m_icon.show();
}

void TrayIcon::showPauseState() {
    const bool muted = m_triggers.isMuted();
    m_pause->setText(muted ? u"恢复自动查词"_s : u"暂停自动查词"_s);
    m_icon.setIcon(muted ? Icons::appPaused() : Icons::app());
    m_icon.setToolTip(muted ? u"Quillet（已暂停）"_s : u"Quillet"_s);
}
