#include "ui/SenseListView.h"

#include "ui/PanelStyle.h"

#include <QGridLayout>
#include <QLabel>
#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

// Glosses this short read best as one flowing line ("1 水  2 水域"); longer ones get a
// numbered row each.
constexpr int kShortSense = 14;

bool flowsInline(const DictionaryEntry::Section& section) {
    for (qsizetype i = 0; i < section.senses.size(); ++i) {
        if (section.senses[i].size() > kShortSense || !section.subsenses.value(i).isEmpty())
            return false;
    }
    return true;
}

QString number(qsizetype index) {
    return u"<span style=\"color:%1;font-weight:600\">%2</span>"_s.arg(
        PanelStyle::css(PanelStyle::tertiaryText()), QString::number(index + 1));
}

QString sectionHtml(const DictionaryEntry::Section& section, const QString& prefix) {
    const qsizetype count = section.senses.size();
    if (count == 1 && section.subsenses.value(0).isEmpty())
        return prefix + section.senses.first().toHtmlEscaped();
    if (flowsInline(section)) {
        QStringList items;
        for (qsizetype i = 0; i < count; ++i)
            items.append(u"<span style=\"white-space:nowrap\">%1&nbsp;%2</span>"_s.arg(
                number(i), section.senses[i].toHtmlEscaped()));
        // Non-breaking padding with one ordinary space, so lines break only between senses.
        return prefix + items.join(u"&nbsp;&nbsp;&nbsp; "_s);
    }
    QString rows;
    for (qsizetype i = 0; i < count; ++i) {
        QString body = section.senses[i].toHtmlEscaped();
        // Hanging indent, so a wrapped example lines up after its dot.
        for (const QString& subsense : section.subsenses.value(i))
            body +=
                u"<p style=\"margin:2px 0 0 12px;text-indent:-12px;font-size:13px;color:%1\">·&nbsp;%2</p>"_s
                    .arg(PanelStyle::css(PanelStyle::secondaryText()), subsense.toHtmlEscaped());
        rows += u"<tr><td align=\"right\" style=\"padding:0 8px 4px 0\">%1</td>"
                u"<td style=\"padding-bottom:4px\">%2</td></tr>"_s.arg(number(i), body);
    }
    return prefix + u"<table cellspacing=\"0\" cellpadding=\"0\">%1</table>"_s.arg(rows);
}

QLabel* richLabel(const QString& html, QWidget* parent) {
    auto* label = PanelStyle::label(PanelStyle::textFont(15), PanelStyle::Tone::primary, parent);
    label->setTextFormat(Qt::RichText);
    label->setWordWrap(true);
    label->setText(html);
    return label;
}

} // namespace

SenseListView::SenseListView(QWidget* parent) : QWidget(parent) {}

void SenseListView::setEntries(const QList<DictionaryEntry>& entries) {
    // A fresh grid each time: QGridLayout never forgets rows it once had.
    qDeleteAll(findChildren<QWidget*>(Qt::FindDirectChildrenOnly));
    delete m_grid;
    m_grid = new QGridLayout(this);
    m_grid->setContentsMargins(0, 0, 4, 0);
    m_grid->setHorizontalSpacing(10);
    m_grid->setVerticalSpacing(9);
    m_grid->setColumnStretch(1, 1);
    m_row = 0;
    for (qsizetype i = 0; i < entries.size(); ++i)
        addEntry(entries[i], i > 0);
    // The layouts above keep the height they measured for the old rows until told.
    updateGeometry();
}

void SenseListView::addEntry(const DictionaryEntry& entry, bool withHeading) {
    if (withHeading) {
        auto* heading = PanelStyle::label(PanelStyle::latinFont(16, QFont::DemiBold),
                                          PanelStyle::Tone::primary, this);
        heading->setText(entry.headlineText(entry.displayHeadword()));
        heading->setContentsMargins(0, 6, 0, 0);
        addFullWidth(heading);
    }

    const QList<DictionaryEntry::Section> sections = entry.visibleSections(maxSensesPerEntry);
    if (sections.isEmpty()) {
        if (entry.rawFallback && !entry.rawFallback->isEmpty()) {
            auto* raw =
                PanelStyle::label(PanelStyle::textFont(14), PanelStyle::Tone::secondary, this);
            raw->setWordWrap(true);
            raw->setText(*entry.rawFallback);
            addFullWidth(raw);
        }
        return;
    }
    qsizetype shown = 0;
    for (const DictionaryEntry::Section& section : sections) {
        addSection(section);
        shown += section.senses.size();
    }
    const qsizetype hidden = entry.allSenses().size() - shown;
    if (hidden > 0) {
        auto* more = PanelStyle::label(PanelStyle::textFont(12), PanelStyle::Tone::tertiary, this);
        more->setText(u"另有 %1 条释义，复制可得全文"_s.arg(hidden));
        addFullWidth(more);
    }
}

void SenseListView::addSection(const DictionaryEntry::Section& section) {
    const bool hasPartOfSpeech = section.partOfSpeech && !section.partOfSpeech->isEmpty();
    const bool hasLabel = section.label && !section.label->isEmpty();
    // The chip names the part of speech, or else the section's label; a label beside a part
    // of speech leads the senses instead.
    QString prefix;
    if (hasPartOfSpeech && hasLabel)
        prefix = u"<span style=\"color:%1\">%2</span>&ensp;"_s.arg(
            PanelStyle::css(PanelStyle::secondaryText()), section.label->toHtmlEscaped());
    auto* body = richLabel(sectionHtml(section, prefix), this);
    if (!hasPartOfSpeech && !hasLabel) {
        addFullWidth(body);
        return;
    }
    auto* chip =
        PanelStyle::label(PanelStyle::textFont(12, QFont::Medium), PanelStyle::Tone::primary, this);
    chip->setProperty("role", hasPartOfSpeech ? u"chip"_s : u"label"_s);
    chip->setText(hasPartOfSpeech ? *section.partOfSpeech : *section.label);
    chip->show();
    // Long numbered senses take the full width under their chip; short ones sit beside it.
    if (section.senses.size() > 1 && !flowsInline(section)) {
        m_grid->addWidget(chip, m_row++, 0, 1, 2, Qt::AlignLeft);
        addFullWidth(body);
        return;
    }
    m_grid->addWidget(chip, m_row, 0, Qt::AlignTop | Qt::AlignLeft);
    m_grid->addWidget(body, m_row, 1);
    ++m_row;
    body->show();
}

void SenseListView::addFullWidth(QWidget* widget) {
    m_grid->addWidget(widget, m_row++, 0, 1, 2);
    // Shown now rather than by the layout's queued show, so a grab right away sees it.
    widget->show();
}
