#include "settings/FilterPreferences.h"

#include "logs/EventLog.h"

using namespace Qt::StringLiterals;

FilterPreferences::FilterPreferences(DefaultsStore& store, EventLog& log, QObject* parent)
    : SettingsObject(store, parent), m_log(log) {
    bind(Settings::showsEverything, m_showsEverything, &FilterPreferences::setShowsEverything);
    for (const QString& retired : Settings::retiredFilterKeys)
        m_store.remove(retired);
}

void FilterPreferences::setShowsEverything(bool shows) {
    assign(Settings::showsEverything, m_showsEverything, shows);
    m_log.append(EventLog::Kind::trigger, u"显示全部查询结果："_s + (shows ? u"开"_s : u"关"_s));
}
