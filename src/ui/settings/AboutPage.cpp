#include "ui/settings/AboutPage.h"

#include "core/DiagnosticsExport.h"
#include "dictionary/SystemDictionaries.h"
#include "dictionary/WordSourceCatalog.h"
#include "settings/Preferences.h"
#include "ui/Icons.h"
#include "ui/PanelStyle.h"
#include "ui/settings/SettingsForm.h"

#include <QDesktopServices>
#include <QFileInfo>
#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QUrl>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

struct Credit {
    QString what;
    QString licence;
};

// What the program is built from and what it reads, with their licences.
QList<Credit> credits(const WordSourceCatalog& dictionaries) {
    QStringList installed;
    for (const WordSourceCatalog::SystemDictionary& dictionary :
         dictionaries.activeDictionaries().value_or(QList<WordSourceCatalog::SystemDictionary>()))
        installed.append(SystemDictionaries::displayName(
            dictionary.identifier, {{dictionary.identifier, dictionary.name, {}, {}}}));
    const QString yours = installed.isEmpty()
                              ? u"你安装的词典"_s
                              : u"你安装的词典（"_s + installed.join(u"、"_s) + u"）"_s;
    return {
        {u"内置词库「简明英汉」：ECDICT"_s, u"MIT 许可证"_s},
        {yours, u"各自作者的许可证，见词典随附的说明"_s},
        {u"整句翻译的模型：由你的模型服务提供（默认 qwen2.5:1.5b）"_s,
         u"见模型的说明（qwen2.5:1.5b 为 Apache-2.0）"_s},
        {u"Qt 6"_s, u"LGPLv3"_s},
        {u"ICU"_s, u"Unicode 许可证"_s},
        {u"SQLite"_s, u"公有领域"_s},
        {u"QCoro"_s, u"MIT 许可证"_s},
        {u"zlib"_s, u"zlib 许可证"_s},
        {u"XCB（libxcb 及其扩展）"_s, u"MIT 许可证"_s},
    };
}

QWidget* creditTable(const QList<Credit>& rows, QWidget* parent) {
    auto* table = new QWidget(parent);
    table->setObjectName(u"credits"_s);
    auto* grid = new QGridLayout(table);
    grid->setContentsMargins(0, 0, 0, 0);
    grid->setHorizontalSpacing(16);
    grid->setVerticalSpacing(5);
    for (int row = 0; row < rows.size(); ++row) {
        QLabel* what =
            PanelStyle::label(PanelStyle::textFont(13), PanelStyle::Tone::primary, table);
        what->setText(rows[row].what);
        what->setWordWrap(true);
        QLabel* licence =
            PanelStyle::label(PanelStyle::textFont(13), PanelStyle::Tone::secondary, table);
        licence->setText(rows[row].licence);
        licence->setWordWrap(true);
        grid->addWidget(what, row, 0);
        grid->addWidget(licence, row, 1);
    }
    grid->setColumnStretch(0, 3);
    grid->setColumnStretch(1, 2);
    return table;
}

QPushButton* button(const QString& name, const QString& text, const QString& role,
                    QWidget* parent) {
    auto* made = new QPushButton(text, parent);
    made->setObjectName(name);
    made->setProperty("role", role);
    made->setFont(PanelStyle::textFont(13, QFont::Medium));
    return made;
}

} // namespace

AboutPage::AboutPage(SettingsContext& context, QWidget* parent)
    : QWidget(parent), m_context(context),
      m_export(button(u"exportButton"_s, u"导出诊断信息"_s, u"primary"_s, this)),
      m_exported(SettingsForm::hint(QString(), this)),
      m_showExported(button(u"showExportButton"_s, u"在文件夹中显示"_s, u"secondary"_s, this)),
      m_refusal(SettingsForm::refusal(this)) {
    QVBoxLayout* column = SettingsForm::pageColumn(this, u"关于"_s);

    auto* mark = new QLabel(this);
    mark->setPixmap(Icons::app().pixmap(56));
    QLabel* name = PanelStyle::label(PanelStyle::latinFont(18, QFont::DemiBold),
                                     PanelStyle::Tone::primary, this);
    name->setText(u"Quillet"_s);
    QLabel* version =
        PanelStyle::label(PanelStyle::textFont(13), PanelStyle::Tone::secondary, this);
    version->setObjectName(u"version"_s);
    version->setText(u"版本 "_s + QStringLiteral(QUILLET_VERSION));
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* identity = new QVBoxLayout;
    identity->setSpacing(2);
    identity->addWidget(name);
    identity->addWidget(version);
    identity->addWidget(SettingsForm::hint(u"读英文时随手查词、翻译句子，用简体中文作答。"_s));
    auto* header = new QHBoxLayout;
    header->setSpacing(14);
    header->addWidget(mark, 0, Qt::AlignTop);
    header->addLayout(identity, 1);
    column->addLayout(header);

    column->addWidget(SettingsForm::sectionTitle(u"数据来源与许可"_s));
    column->addWidget(creditTable(credits(context.dictionaries), this));

    column->addWidget(SettingsForm::sectionTitle(u"诊断信息"_s));
    column->addWidget(SettingsForm::hint(
        u"遇到问题时，可以把诊断信息发给开发者。导出的压缩包含诊断日志、运行环境、设置、词典列表"
        u"和各项权限的状态；不含单词本，也不含查过的文字（日志里只记字数）。"_s));
    m_exported->setObjectName(u"exportedPath"_s);
    m_exported->setTextInteractionFlags(Qt::TextSelectableByMouse);
    m_exported->hide();
    m_showExported->hide();
    m_export->setEnabled(context.store != nullptr);
    column->addLayout(SettingsForm::row({m_export, m_showExported}));
    column->addWidget(m_exported);
    column->addWidget(m_refusal);

    connect(m_export, &QPushButton::clicked, this, &AboutPage::exportDiagnostics);
    connect(m_showExported, &QPushButton::clicked, this, [this] {
        if (!QDesktopServices::openUrl(
                QUrl::fromLocalFile(QFileInfo(m_exportedPath).absolutePath())))
            SettingsForm::showRefusal(m_refusal, u"无法打开文件夹：没有可用的文件管理器。"_s);
    });
}

void AboutPage::exportDiagnostics() {
    if (!m_context.store)
        return;
    const DiagnosticsExport::Outcome outcome = DiagnosticsExport::write(
        {.store = *m_context.store,
         .dictionaries = m_context.dictionaries,
         .removedDictionaries = m_context.preferences.removedDictionaries(),
         .capabilities =
             m_context.capabilityStates ? m_context.capabilityStates() : QStringList()});
    if (const auto* failure = std::get_if<DiagnosticsExport::Failure>(&outcome)) {
        SettingsForm::showRefusal(m_refusal, failure->message);
        m_exported->hide();
        m_showExported->hide();
        return;
    }
    SettingsForm::showRefusal(m_refusal, QString());
    m_exportedPath = std::get<DiagnosticsExport::Exported>(outcome).path;
    m_exported->setText(u"已导出到 "_s + m_exportedPath);
    m_exported->show();
    m_showExported->show();
}
