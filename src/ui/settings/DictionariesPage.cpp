#include "ui/settings/DictionariesPage.h"

#include "platform/PlatformTexts.h"
#include "platform/SystemDictionaryBridge.h"
#include "ui/PanelStyle.h"
#include "ui/settings/DictionaryOrderView.h"
#include "ui/settings/SettingsForm.h"
#include "ui/settings/TranslationServerFields.h"
#include "ui/settings/TranslationStatusView.h"

#include <QDir>
#include <QGridLayout>
#include <QLabel>
#include <QLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// What the translation fields mark beyond the window's own colours.
QString pageStyleSheet() {
    return uR"(
QLabel[tone="warning"] { color: %1; }
QLineEdit[problem="true"] { border-color: %1; }
)"_s.arg(PanelStyle::css(PanelStyle::warning()));
}

// The folders dictionaries are read from, the user's own first, with "~" for the home folder.
QWidget* folderList(QWidget* parent) {
    auto* list = new QWidget(parent);
    list->setObjectName(u"dictionaryFolders"_s);
    auto* grid = new QGridLayout(list);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(14);
    grid->setVerticalSpacing(4);
    const QString home = QDir::homePath();
    int row = 0;
    for (const SystemDictionaryBridge::Folder& folder : SystemDictionaryBridge::folders()) {
        QLabel* kind =
            PanelStyle::label(PanelStyle::textFont(12), PanelStyle::Tone::secondary, list);
        kind->setText(folder.format + (folder.personal ? u" · 你的"_s : u" · 系统"_s));
        QLabel* path =
            PanelStyle::label(PanelStyle::latinFont(12), PanelStyle::Tone::primary, list);
        path->setText(folder.path.startsWith(home + u'/') ? u"~"_s + folder.path.sliced(home.size())
                                                          : folder.path);
        path->setToolTip(folder.path);
        path->setTextInteractionFlags(Qt::TextSelectableByMouse);
        grid->addWidget(kind, row, 0);
        grid->addWidget(path, row, 1);
        ++row;
    }
    grid->setColumnStretch(1, 1);
    return list;
}

} // namespace

DictionariesPage::DictionariesPage(SettingsContext& context, QWidget* parent)
    : QWidget(parent), m_translationTitle(SettingsForm::sectionTitle(u"整句翻译"_s)),
      m_status(new TranslationStatusView(context.translation, context.translator)) {
    setStyleSheet(pageStyleSheet());
    QVBoxLayout* column = SettingsForm::pageColumn(this, u"词典与翻译"_s);

    column->addWidget(SettingsForm::sectionTitle(u"查词顺序"_s));
    column->addWidget(SettingsForm::hint(
        u"查单词时按这个顺序查这些词典，面板里每本词典一个标签。拖动一行，或选中后点「上移」"
        u"「下移」调整顺序；标着「中文释义」的词典用中文解释英文。"_s));
    column->addWidget(new DictionaryOrderView(context.preferences, context.dictionaries));

    column->addWidget(SettingsForm::sectionTitle(u"添加词典"_s));
    column->addWidget(SettingsForm::hint(PlatformTexts::addingDictionaries()));
    if (!SystemDictionaryBridge::folders().isEmpty())
        column->addWidget(folderList(this));
    if (context.openDictionaryFolder) {
        auto* open = new QPushButton(u"打开词典文件夹"_s);
        open->setObjectName(u"openDictionaryFolderButton"_s);
        open->setProperty("role", u"secondary"_s);
        open->setFont(PanelStyle::textFont(13));
        connect(open, &QPushButton::clicked, this, context.openDictionaryFolder);
        column->addLayout(SettingsForm::row({open}));
    }

    column->addWidget(m_translationTitle);
    column->addWidget(SettingsForm::hint(
        u"没有翻译服务时，Quillet 给句子的是逐词释义：逐个列出其中词组和单词的中文意思。"
        u"在这台电脑上运行本地模型服务（Ollama），就能得到整句翻译，文字不会离开这台电脑。"_s));
    column->addWidget(new TranslationServerFields(context.translation));
    column->addWidget(m_status);
}

void DictionariesPage::revealTranslation() {
    auto* scroll = findChild<QScrollArea*>();
    if (!scroll)
        return;
    // The section's heading at the top of the view, as far as the page scrolls.
    scroll->widget()->layout()->activate();
    scroll->verticalScrollBar()->setValue(
        m_translationTitle->mapTo(scroll->widget(), QPoint(0, 0)).y());
}

void DictionariesPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    m_status->recheck();
}
