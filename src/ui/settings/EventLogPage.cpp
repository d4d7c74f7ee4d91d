#include "ui/settings/EventLogPage.h"

#include "logs/EventLog.h"
#include "ui/settings/SettingsForm.h"

#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

EventLogPage::EventLogPage(EventLog& log, QWidget* parent)
    : QWidget(parent), m_log(log), m_list(new QListWidget(this)) {
    QVBoxLayout* column = SettingsForm::pageColumn(this, u"事件日志"_s);
    column->addWidget(SettingsForm::hint(
        u"最近 %1 条记录，只保存在内存里；写入磁盘的诊断日志不含查询的文字。"_s.arg(
            EventLog::limit)));
    m_list->setObjectName(u"eventLogList"_s);
    m_list->setWordWrap(true);
    m_list->setMinimumHeight(360);
    m_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    column->addWidget(m_list, 1);
    connect(&m_log, &EventLog::entriesChanged, this, &EventLogPage::reload);
    reload();
}

void EventLogPage::reload() {
    m_list->clear();
    for (const EventLog::Entry& entry : m_log.entries()) {
        m_list->addItem(entry.date.toLocalTime().toString(u"HH:mm:ss"_s) + u"  ["_s +
                        EventLog::label(entry.kind) + u"] "_s + entry.text);
    }
}
