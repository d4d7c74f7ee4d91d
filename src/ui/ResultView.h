#pragma once

#include "lookup/LookupResult.h"

#include <QList>
#include <QStringList>
#include <QWidget>

class ActionBar;
class GlossView;
class HeadlineView;
class QScrollArea;
class SenseListView;
class SourceTabs;
class TranslationView;

// A lookup result: headline, one tab per dictionary source, the selected source's senses
// (or the translation, or the word-by-word gloss) in a scrolling body, and the action row.
class ResultView : public QWidget {
    Q_OBJECT
public:
    explicit ResultView(QWidget* parent = nullptr);

    // Shows `result` with its own source as the only tab.
    void setResult(const LookupResult& result, bool starred);
    // Adds tabs for the sources not shown yet, after the current ones.
    void addSources(const QList<LookupResult::Source>& sources);
    const LookupResult& result() const { return m_result; }
    // The source on screen: the result's own, or another dictionary's after a tab switch.
    const LookupResult::Source& currentSource() const;

    QStringList tabIds() const;
    QString currentTabId() const;
    bool selectTab(const QString& id);
    QString headlineText() const;
    ActionBar* actionBar() const { return m_actions; }

    // Sizes the scrolling body so the whole view fits in `maxHeight` at `width`, and returns
    // the height the view needs.
    int fitHeight(int width, int maxHeight);

Q_SIGNALS:
    // The user picked another tab; the view's height may have changed.
    void tabChanged(const QString& id);
    // The gloss's way to whole-sentence translations was taken.
    void fullTranslationRequested();

private:
    void showSource(const LookupResult::Source& source);

    LookupResult m_result;
    QList<LookupResult::Source> m_sources; // in tab order; the result's own source first
    int m_current = 0;
    HeadlineView* m_headline;
    SourceTabs* m_tabs;
    QScrollArea* m_scroll;
    QWidget* m_body;
    SenseListView* m_senses;
    TranslationView* m_translation;
    GlossView* m_gloss;
    ActionBar* m_actions;
};
