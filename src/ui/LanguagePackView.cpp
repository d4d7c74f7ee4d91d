#include "ui/LanguagePackView.h"

#include "ui/Icons.h"
#include "ui/PanelStyle.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int kPreviewCharacters = 90;

QPushButton* makeButton(const QString& text, const QString& role, QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setProperty("role", role);
    button->setFont(PanelStyle::textFont(13, QFont::Medium));
    button->setFocusPolicy(Qt::NoFocus);
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

} // namespace

LanguagePackView::LanguagePackView(QWidget* parent)
    : QWidget(parent),
      m_preview(PanelStyle::label(PanelStyle::latinFont(13), PanelStyle::Tone::tertiary, this)),
      m_later(makeButton(u"以后再说"_s, u"secondary"_s, this)),
      m_download(makeButton(u"下载"_s, u"primary"_s, this)), m_progress(new QProgressBar(this)),
      m_status(PanelStyle::label(PanelStyle::textFont(12), PanelStyle::Tone::secondary, this)) {
    auto* icon = new QLabel(this);
    icon->setPixmap(Icons::panel(u"download"_s).pixmap(QSize(20, 20), devicePixelRatioF()));
    auto* title = PanelStyle::label(PanelStyle::textFont(15, QFont::DemiBold),
                                    PanelStyle::Tone::primary, this);
    title->setText(u"需要英中翻译语言包"_s);
    auto* detail = PanelStyle::label(PanelStyle::textFont(13), PanelStyle::Tone::secondary, this);
    detail->setWordWrap(true);
    detail->setText(u"整句翻译要先下载英→中语言包，下载好后会接着翻译这段文字。"_s);
    m_preview->setWordWrap(true);

    m_download->setObjectName(u"downloadButton"_s);
    m_later->setObjectName(u"laterButton"_s);
    connect(m_download, &QPushButton::clicked, this, [this] {
        setProgress(-1);
        Q_EMIT downloadRequested();
    });
    connect(m_later, &QPushButton::clicked, this, &LanguagePackView::dismissed);

    m_progress->setObjectName(u"downloadProgress"_s);
    m_progress->setTextVisible(false);
    m_progress->setFixedHeight(6);

    auto* buttons = new QHBoxLayout;
    buttons->setSpacing(8);
    buttons->addStretch(1);
    buttons->addWidget(m_later);
    buttons->addWidget(m_download);

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(2, 4, 2, 2);
    layout->setHorizontalSpacing(10);
    layout->setVerticalSpacing(8);
    layout->addWidget(icon, 0, 0, Qt::AlignTop);
    layout->addWidget(title, 0, 1);
    layout->addWidget(detail, 1, 1);
    layout->addWidget(m_preview, 2, 1);
    layout->addLayout(buttons, 3, 1);
    layout->addWidget(m_progress, 4, 1);
    layout->addWidget(m_status, 5, 1);
    layout->setColumnStretch(1, 1);
    setQuery(QString());
}

void LanguagePackView::setQuery(const QString& query) {
    m_downloading = false;
    const QString flat = query.simplified();
    // A preview only: the whole paragraph would push the buttons off the panel.
    m_preview->setText(flat.size() > kPreviewCharacters
                           ? u"「%1…」"_s.arg(flat.left(kPreviewCharacters))
                           : u"「%1」"_s.arg(flat));
    m_later->show();
    m_download->show();
    m_progress->hide();
    m_status->hide();
}

void LanguagePackView::setProgress(double fraction) {
    m_downloading = fraction < 1.0;
    m_later->hide();
    m_download->hide();
    m_progress->show();
    m_status->show();
    if (fraction < 0) {
        m_progress->setRange(0, 0); // busy: the size is not known yet
        m_status->setText(u"正在连接…"_s);
        return;
    }
    const int percent = static_cast<int>(std::lround(std::min(fraction, 1.0) * 100));
    m_progress->setRange(0, 100);
    m_progress->setValue(percent);
    m_status->setText(m_downloading ? u"正在下载 %1%"_s.arg(percent) : u"下载完成，正在翻译…"_s);
}
