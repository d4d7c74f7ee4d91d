#pragma once

#include "dictionary/DictionaryEntry.h"

#include <QList>
#include <QWidget>

class QGridLayout;

// One source's entries: a part-of-speech chip beside each section's numbered senses, a
// heading for every entry after the first (the panel's headline names the first), and the
// raw text of entries that could not be split into sections.
class SenseListView : public QWidget {
    Q_OBJECT
public:
    // Longer entries are cut here; the copy button still copies every sense.
    static constexpr int maxSensesPerEntry = 40;

    explicit SenseListView(QWidget* parent = nullptr);

    void setEntries(const QList<DictionaryEntry>& entries);

private:
    void addEntry(const DictionaryEntry& entry, bool withHeading);
    void addSection(const DictionaryEntry::Section& section);
    void addFullWidth(QWidget* widget);

    QGridLayout* m_grid = nullptr;
    int m_row = 0;
};
