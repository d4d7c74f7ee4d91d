#include "ui/settings/NotebookPage.h"

#include "notebook/Vocabulary.h"
#include "settings/Preferences.h"
#include "ui/settings/SettingsForm.h"

#include <QCheckBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

NotebookPage::NotebookPage(SettingsContext& context, QWidget* parent)
    : QWidget(parent), m_context(context), m_history(new QCheckBox(u"记录查询历史"_s, this)),
      m_size(SettingsForm::hint(QString(), this)),
      m_clear(new QPushButton(u"清除查询记录…"_s, this)), m_confirmation(new QWidget(this)),
      m_question(new QLabel(m_confirmation)), m_confirm(new QPushButton(m_confirmation)) {
    QVBoxLayout* column = SettingsForm::pageColumn(this, u"单词本"_s);
    m_history->setObjectName(u"historyEnabled"_s);
    column->addWidget(m_history);
    column->addWidget(SettingsForm::hint(
        u"查过的单词自动记进单词本。关闭后不再记录，已有的查询记录也会清除；收藏的单词和句子始终保留。"_s,
        this));
    m_size->setObjectName(u"historySize"_s);
    column->addWidget(m_size);
    m_clear->setObjectName(u"clearHistory"_s);
    column->addLayout(SettingsForm::row({m_clear}));

    m_confirmation->setObjectName(u"removalConfirmation"_s);
    m_question->setObjectName(u"removalQuestion"_s);
    m_question->setWordWrap(true);
    m_confirm->setObjectName(u"confirmRemoval"_s);
    auto* cancel = new QPushButton(u"取消"_s, m_confirmation);
    cancel->setObjectName(u"cancelRemoval"_s);
    auto* confirmation = new QVBoxLayout(m_confirmation);
    confirmation->setContentsMargins(0, 4, 0, 0);
    confirmation->addWidget(m_question);
    confirmation->addLayout(SettingsForm::row({m_confirm, cancel}));
    m_confirmation->hide();
    column->addWidget(m_confirmation);

    Preferences& preferences = context.preferences;
    connect(m_history, &QCheckBox::clicked, this, [this, &preferences](bool on) {
        // Switching recording off clears the records, so it asks first when there are any.
        if (!on && historyCount() > 0)
            ask(Removal::switchOff);
        else
            preferences.setVocabularyEnabled(on);
        showState();
    });
    connect(m_clear, &QPushButton::clicked, this, [this] { ask(Removal::clear); });
    connect(m_confirm, &QPushButton::clicked, this, &NotebookPage::confirm);
    connect(cancel, &QPushButton::clicked, this, [this] { ask(Removal::none); });
    connect(&preferences, &SettingsObject::changed, this, &NotebookPage::showState);
    connect(&context.vocabulary, &Vocabulary::entriesChanged, this, &NotebookPage::showState);
    showState();
}

qsizetype NotebookPage::historyCount() const {
    const Vocabulary& vocabulary = m_context.vocabulary;
    return vocabulary.entries().size() - vocabulary.starredCount();
}

void NotebookPage::ask(Removal removal) {
    m_asked = removal;
    showState();
}

void NotebookPage::confirm() {
    const Removal asked = m_asked;
    m_asked = Removal::none;
    if (asked == Removal::switchOff) {
        m_context.preferences.setVocabularyEnabled(false);
        m_context.vocabulary.purgeIfDisabled();
    } else if (asked == Removal::clear) {
        m_context.vocabulary.clearRecords();
    }
    showState();
}

void NotebookPage::showState() {
    const bool recording = m_context.preferences.vocabularyEnabled();
    const qsizetype records = historyCount();
    // A question that no longer applies (changed elsewhere meanwhile) goes away.
    if (records == 0 || (m_asked == Removal::switchOff && !recording))
        m_asked = Removal::none;

    m_history->setChecked(recording);
    m_size->setText(
        u"现有查询记录 %1 条，最多保留 %2 条，超出时移除最旧的；收藏 %3 条，不计在内。"_s
            .arg(records)
            .arg(Vocabulary::historyLimit)
            .arg(m_context.vocabulary.starredCount()));
    m_clear->setEnabled(records > 0 && m_asked == Removal::none);

    m_confirmation->setVisible(m_asked != Removal::none);
    if (m_asked == Removal::clear) {
        m_question->setText(u"清除全部 %1 条查询记录？收藏的单词和句子会保留。"_s.arg(records));
        m_confirm->setText(u"清除"_s);
    } else if (m_asked == Removal::switchOff) {
        m_question->setText(
            u"关闭后不再记录查询，并清除现有的 %1 条查询记录；收藏的单词和句子会保留。"_s.arg(
                records));
        m_confirm->setText(u"关闭并清除"_s);
    }
}
