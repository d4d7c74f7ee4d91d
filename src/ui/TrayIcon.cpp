#include "ui/TrayIcon.h"

#include "logs/EventLog.h"
#include "settings/TriggerSettings.h"
#include "ui/EventLogWindow.h"
#include "ui/Icons.h"

using namespace Qt::StringLiterals;

TrayIcon::TrayIcon(TriggerSettings& triggers, EventLog& log, QObject* parent)
    : QObject(parent), m_triggers(triggers), m_log(log) {
    m_pause =
        m_menu.addAction(QString(), this, [this] { m_triggers.setMuted(!m_triggers.isMuted()); });
    m_menu.addAction(u"事件日志…"_s, this, &TrayIcon::showEventLog);
    m_menu.addSeparator();
    m_menu.addAction(u"退出 Quillet"_s, this, &TrayIcon::quitRequested);
    updatePauseItem();
    connect(&m_triggers, &TriggerSettings::changed, this, [this](Settings::Id setting) {
        if (setting == Settings::Id::isMuted)
            updatePauseItem();
    });

    m_icon.setIcon(Icons::app());
    m_icon.setContextMenu(&m_menu);
    connect(&m_icon, &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                if (reason == QSystemTrayIcon::Trigger)
                    m_menu.popup(QCursor::pos());
            });
}

TrayIcon::~TrayIcon() {
    delete m_logWindow;
}

void TrayIcon::show() {
    m_icon.show();
}

void TrayIcon::updatePauseItem() {
    const bool muted = m_triggers.isMuted();
    m_pause->setText(muted ? u"恢复自动查词"_s : u"暂停自动查词"_s);
    m_icon.setToolTip(muted ? u"Quillet（已暂停）"_s : u"Quillet"_s);
}

void TrayIcon::showEventLog() {
    if (!m_logWindow)
        m_logWindow = new EventLogWindow(m_log);
    m_logWindow->show();
    m_logWindow->raise();
    m_logWindow->activateWindow();
}
