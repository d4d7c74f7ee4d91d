#pragma once

#include "settings/SettingsObject.h"

class EventLog;

// The text filter's one switch: show every query result, even those the filter would refuse
// (copied text only; secrets never).
class FilterPreferences : public SettingsObject {
    Q_OBJECT
public:
    static FilterPreferences& shared();
    FilterPreferences(DefaultsStore& store, EventLog& log, QObject* parent = nullptr);

    bool showsEverything() const { return m_showsEverything; }
    void setShowsEverything(bool shows);

private:
    EventLog& m_log;
    bool m_showsEverything = false;
};
