#include "ui/EventLogWindow.h"

#include "logs/EventLog.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

EventLogWindow::EventLogWindow(EventLog& log, QWidget* parent) : QWidget(parent), m_log(log) {
    setWindowTitle(u"Quillet 事件日志"_s);
    setAttribute(Qt::WA_DeleteOnClose);
    resize(560, 420);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(&m_list);
    m_list.setWordWrap(true);
    m_list.setUniformItemSizes(false);
    connect(&m_log, &EventLog::entriesChanged, this, &EventLogWindow::reload);
    reload();
}

void EventLogWindow::reload() {
    m_list.clear();
    for (const EventLog::Entry& entry : m_log.entries()) {
        m_list.addItem(entry.date.toLocalTime().toString(u"HH:mm:ss"_s) + u"  ["_s +
                       EventLog::label(entry.kind) + u"] "_s + entry.text);
    }
}
