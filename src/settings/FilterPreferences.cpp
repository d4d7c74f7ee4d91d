#include "settings/FilterPreferences.h"

#include "logs/EventLog.h"
#include "settings/DefaultsStore.h"

using namespace Qt::StringLiterals;

namespace {
const QString kShowsEverything = u"filter.showsEverything"_s;
}

FilterPreferences::FilterPreferences(DefaultsStore& store, EventLog& log, QObject* parent)
    : QObject(parent), m_store(store), m_log(log) {
    m_showsEverything = m_store.boolValue(kShowsEverything);
    // The rules used to be switchable one by one; only "show everything" remains.
    for (const QString& obsolete :
         {u"filter.blocksURLOrPath"_s, u"filter.blocksCodeIdentifier"_s,
          u"filter.blocksNonEnglish"_s, u"filter.blocksRemoteClipboard"_s})
        m_store.remove(obsolete);
    connect(&m_store, &DefaultsStore::valueChanged, this, &FilterPreferences::adoptStoredValue);
}

void FilterPreferences::adoptStoredValue(const QString& key) {
    if (key != kShowsEverything || m_store.boolValue(kShowsEverything) == m_showsEverything)
        return;
    m_showsEverything = !m_showsEverything;
    Q_EMIT changed(u"showsEverything"_s);
}

void FilterPreferences::setShowsEverything(bool shows) {
    m_showsEverything = shows;
    m_store.setValue(kShowsEverything, shows);
    m_log.append(EventLog::Kind::trigger, u"显示全部查询结果："_s + (shows ? u"开"_s : u"关"_s));
    Q_EMIT changed(u"showsEverything"_s);
}
