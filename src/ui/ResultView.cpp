#include "ui/ResultView.h"

#include "filter/TextFilter.h"
#include "ui/ActionBar.h"
#include "ui/GlossView.h"
#include "ui/HeadlineView.h"
#include "ui/SenseListView.h"
#include "ui/SourceTabs.h"
#include "ui/TranslationView.h"

#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>
#include <algorithm>

ResultView::ResultView(QWidget* parent)
    : QWidget(parent), m_headline(new HeadlineView(this)), m_tabs(new SourceTabs(this)),
      m_scroll(new QScrollArea(this)), m_body(new QWidget), m_senses(new SenseListView(m_body)),
      m_translation(new TranslationView(m_body)), m_gloss(new GlossView(m_body)),
      m_actions(new ActionBar(this)) {
    auto* bodyLayout = new QVBoxLayout(m_body);
    bodyLayout->setContentsMargins(0, 0, 0, 0);
    bodyLayout->setSpacing(0);
    bodyLayout->addWidget(m_senses);
    bodyLayout->addWidget(m_translation);
    bodyLayout->addWidget(m_gloss);

    m_scroll->setWidget(m_body);
    m_scroll->setWidgetResizable(true);
    m_scroll->setFrameShape(QFrame::NoFrame);
    m_scroll->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_scroll->setFocusPolicy(Qt::NoFocus);
    m_scroll->viewport()->setAutoFillBackground(false);
    m_body->setAutoFillBackground(false);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(10);
    layout->addWidget(m_headline);
    layout->addWidget(m_tabs);
    layout->addWidget(m_scroll);
    layout->addWidget(m_actions);

    connect(m_gloss, &GlossView::fullTranslationRequested, this,
            &ResultView::fullTranslationRequested);
    connect(m_tabs, &SourceTabs::currentChanged, this, [this](const QString& id) {
        if (selectTab(id))
            Q_EMIT tabChanged(id);
    });
}

void ResultView::setResult(const LookupResult& result, bool starred) {
    m_result = result;
    m_sources = {result.source};
    m_current = 0;
    m_tabs->setTabs({{result.source.id, result.source.shortName}});
    m_actions->setStarred(starred);
    const bool isWord = TextFilter::kind(result.term) == QueryKind::word;
    m_actions->setOpenVisible(isWord);

    if (result.isDictionaryAnswer()) {
        showSource(result.source);
        return;
    }
    m_senses->hide();
    m_tabs->hide(); // the footer names the translator; one lone tab would only repeat it
    m_headline->setHeadline(result.term, result.phonetic);
    if (result.isGloss()) {
        // The gloss lays out the English itself, and heads a lone word or phrase itself.
        m_translation->hide();
        m_headline->hide();
        m_gloss->setPieces(result.glossPieces);
        m_gloss->show();
    } else {
        m_gloss->hide();
        m_translation->show();
        // A word keeps its headline; a sentence is its own heading, above the translation.
        m_headline->setVisible(isWord);
        m_translation->setTexts(isWord ? QString() : result.term, result.translation);
    }
    m_actions->setSourceName(result.source.name);
    m_scroll->verticalScrollBar()->setValue(0);
}

void ResultView::addSources(const QList<LookupResult::Source>& sources) {
    QList<SourceTabs::Tab> tabs;
    for (const LookupResult::Source& source : sources) {
        const bool shown = std::any_of(m_sources.begin(), m_sources.end(),
                                       [&](const auto& known) { return known.id == source.id; });
        if (shown || source.entries.isEmpty())
            continue;
        m_sources.append(source);
        tabs.append({source.id, source.shortName});
    }
    m_tabs->addTabs(tabs);
}

const LookupResult::Source& ResultView::currentSource() const {
    return m_sources[m_current];
}

QStringList ResultView::tabIds() const {
    return m_tabs->ids();
}

QString ResultView::currentTabId() const {
    return m_tabs->currentId();
}

bool ResultView::selectTab(const QString& id) {
    for (qsizetype i = 0; i < m_sources.size(); ++i) {
        if (m_sources[i].id != id)
            continue;
        m_tabs->setCurrentId(id);
        if (i != m_current) {
            m_current = static_cast<int>(i);
            showSource(m_sources[i]);
        }
        return true;
    }
    return false;
}

QString ResultView::headlineText() const {
    return m_headline->isHidden() ? QString() : m_headline->text();
}

void ResultView::showSource(const LookupResult::Source& source) {
    m_tabs->show();
    m_translation->hide();
    m_gloss->hide();
    m_senses->show();
    m_senses->setEntries(source.entries);
    // Each dictionary spells and transcribes the word its own way.
    if (source.entries.isEmpty())
        m_headline->setHeadline(m_result.term, std::nullopt);
    else
        m_headline->setHeadline(source.entries.first().displayHeadword(),
                                source.entries.first().phonetic);
    m_headline->show();
    m_actions->setSourceName(source.name);
    m_scroll->verticalScrollBar()->setValue(0);
}

int ResultView::fitHeight(int width, int maxHeight) {
    ensurePolished();
    // What the headline, tabs and actions take, then as much body as still fits.
    m_scroll->setFixedHeight(0);
    // Without a headline nothing left wraps, and the layout has no height-for-width.
    const int chrome = layout()->hasHeightForWidth() ? layout()->totalHeightForWidth(width)
                                                     : layout()->totalSizeHint().height();
    const int content =
        m_body->hasHeightForWidth() ? m_body->heightForWidth(width) : m_body->sizeHint().height();
    const int body = std::clamp(content, 0, std::max(0, maxHeight - chrome));
    m_scroll->setFixedHeight(body);
    return chrome + body;
}
