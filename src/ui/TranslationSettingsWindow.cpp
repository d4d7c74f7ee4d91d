#include "ui/TranslationSettingsWindow.h"

#include "ui/PanelStyle.h"
#include "ui/settings/TranslationServerFields.h"
#include "ui/settings/TranslationStatusView.h"

#include <QFrame>
#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWidth = 460;

// The panel's look carried over to a window: its colours, buttons and progress bar, and
// fields drawn to match.
QString windowStyleSheet() {
    QColor opaque = PanelStyle::background();
    opaque.setAlpha(255);
    return PanelStyle::styleSheet() + uR"(
TranslationSettingsWindow { background: %1; }
QLabel[tone="warning"] { color: %4; }
QLineEdit, QComboBox { color: %2; background: rgba(255,255,255,16); border: 1px solid %3; border-radius: 6px; padding: 4px 8px; selection-background-color: %5; }
QLineEdit:focus, QComboBox:focus { border-color: %5; }
QLineEdit[problem="true"] { border-color: %4; }
QComboBox QAbstractItemView { color: %2; background: #26262a; selection-background-color: rgba(100,178,255,90); }
QFrame[role="hairline"] { background: %3; border: none; }
)"_s.arg(PanelStyle::css(opaque), PanelStyle::css(PanelStyle::primaryText()),
                                      PanelStyle::css(PanelStyle::hairline()),
                                      PanelStyle::css(PanelStyle::warning()),
                                      PanelStyle::css(PanelStyle::accent()));
}

QFrame* hairline(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setProperty("role", u"hairline"_s);
    line->setFixedHeight(1);
    return line;
}

} // namespace

TranslationSettingsWindow::TranslationSettingsWindow(TranslationSettings& settings,
                                                     TranslationEngine& translator, QWidget* parent)
    : QWidget(parent, Qt::Window), m_status(new TranslationStatusView(settings, translator, this)) {
    setWindowTitle(u"词典与翻译"_s);
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(windowStyleSheet());
    setFixedWidth(kWidth);

    QLabel* title = PanelStyle::label(PanelStyle::textFont(16, QFont::DemiBold),
                                      PanelStyle::Tone::primary, this);
    title->setText(u"整句翻译"_s);
    QLabel* explanation =
        PanelStyle::label(PanelStyle::textFont(13), PanelStyle::Tone::secondary, this);
    explanation->setObjectName(u"explanation"_s);
    explanation->setWordWrap(true);
    explanation->setText(
        u"没有翻译服务时，Quillet 给句子的是逐词释义：逐个列出其中词组和单词的中文意思。"
        "在这台电脑上运行本地模型服务（Ollama），就能得到整句翻译，文字不会离开这台电脑。"_s);

    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(PanelStyle::horizontalPadding, 16, PanelStyle::horizontalPadding,
                               PanelStyle::bottomPadding + 4);
    layout->setSpacing(12);
    layout->addWidget(title);
    layout->addWidget(explanation);
    layout->addWidget(new TranslationServerFields(settings, this));
    layout->addWidget(hairline(this));
    layout->addWidget(m_status);
    layout->addStretch(1);
}

void TranslationSettingsWindow::present() {
    show();
    raise();
    activateWindow();
    m_status->recheck();
}
