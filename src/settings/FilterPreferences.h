#pragma once

#include <QObject>

class DefaultsStore;
class EventLog;

// The text filter's one switch: show every query result, even those the filter would refuse
// (copied text only; secrets never).
class FilterPreferences : public QObject {
    Q_OBJECT
public:
    static FilterPreferences& shared();
    FilterPreferences(DefaultsStore& store, EventLog& log, QObject* parent = nullptr);

    bool showsEverything() const { return m_showsEverything; }
    void setShowsEverything(bool shows);

Q_SIGNALS:
    void changed(const QString& property);

private:
    // Takes in a value another process stored.
    void adoptStoredValue(const QString& key);

    DefaultsStore& m_store;
    EventLog& m_log;
    bool m_showsEverything = false;
};
