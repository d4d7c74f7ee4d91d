#include "ui/settings/TranslationStatusView.h"

#include "lookup/TranslationEngine.h"
#include "settings/TranslationSettings.h"
#include "ui/PanelStyle.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

QPushButton* button(const QString& name, const QString& text, const QString& role,
                    QWidget* parent) {
    auto* button = new QPushButton(text, parent);
    button->setObjectName(name);
    button->setProperty("role", role);
    button->setFont(PanelStyle::textFont(13, QFont::Medium));
    button->setCursor(Qt::PointingHandCursor);
    return button;
}

} // namespace

TranslationStatusView::TranslationStatusView(const TranslationSettings& settings,
                                             TranslationEngine& translator, QWidget* parent)
    : QWidget(parent), m_settings(settings), m_translator(translator),
      m_status(PanelStyle::label(PanelStyle::textFont(14, QFont::Medium), PanelStyle::Tone::primary,
                                 this)),
      m_recheck(button(u"recheckButton"_s, u"重新检查"_s, u"secondary"_s, this)),
      m_hint(PanelStyle::label(PanelStyle::textFont(13), PanelStyle::Tone::secondary, this)),
      m_progress(new QProgressBar(this)),
      m_progressText(
          PanelStyle::label(PanelStyle::textFont(12), PanelStyle::Tone::secondary, this)),
      m_startDownload(button(u"downloadButton"_s, u"下载模型"_s, u"primary"_s, this)),
      m_cancel(button(u"cancelButton"_s, u"取消"_s, u"secondary"_s, this)) {
    m_status->setObjectName(u"statusText"_s);
    m_hint->setObjectName(u"statusHint"_s);
    m_hint->setWordWrap(true);
    m_progress->setObjectName(u"downloadProgress"_s);
    m_progress->setTextVisible(false);
    m_progress->setFixedHeight(6);
    m_progressText->setObjectName(u"progressText"_s);

    auto* top = new QHBoxLayout;
    top->addWidget(m_status, 1);
    top->addWidget(m_recheck);
    auto* actions = new QHBoxLayout;
    actions->setSpacing(8);
    actions->addWidget(m_progressText, 1);
    actions->addWidget(m_cancel);
    actions->addWidget(m_startDownload);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addLayout(top);
    layout->addWidget(m_hint);
    layout->addWidget(m_progress);
    layout->addLayout(actions);

    connect(m_recheck, &QPushButton::clicked, this, [this] { recheck(); });
    connect(m_startDownload, &QPushButton::clicked, this, [this] { download(); });
    connect(m_cancel, &QPushButton::clicked, this, &TranslationStatusView::cancelDownload);
    connect(&m_translator, &TranslationEngine::preparationProgress, this, [this](double fraction) {
        if (m_activity == Activity::downloading)
            showProgress(fraction);
    });
    // A lookup may learn the state too; a running check or download shows its own.
    connect(&m_translator, &TranslationEngine::assetStatusChanged, this, [this] {
        if (m_activity == Activity::idle)
            render();
    });
    // A download for another server or model is of no use any more. Queued, so that the
    // translator has taken in the change before it is asked again.
    connect(
        &m_settings, &TranslationSettings::changed, this,
        [this] {
            if (m_activity == Activity::downloading) {
                m_download.cancel();
                m_activity = Activity::idle;
            }
            recheck();
        },
        Qt::QueuedConnection);
    render();
}

TranslationStatusView::~TranslationStatusView() {
    m_download.cancel();
}

QCoro::Task<void> TranslationStatusView::recheck() {
    if (m_activity == Activity::downloading)
        co_return;
    const quint64 round = ++m_round;
    m_activity = Activity::checking;
    m_outcome.clear();
    render();
    const QPointer<TranslationStatusView> self(this);
    co_await m_translator.refreshAssetStatus();
    if (!self || round != m_round)
        co_return;
    m_activity = Activity::idle;
    render();
}

QCoro::Task<void> TranslationStatusView::download() {
    if (m_activity != Activity::idle)
        co_return;
    const quint64 round = ++m_round;
    m_activity = Activity::downloading;
    m_outcome.clear();
    m_download = CancellationToken();
    const CancellationToken token = m_download;
    showProgress(-1);
    render();
    const QPointer<TranslationStatusView> self(this);
    const PreparationOutcome outcome = co_await m_translator.prepareInteractively(token);
    if (!self || round != m_round)
        co_return;
    m_activity = Activity::idle;
    if (const auto* failure = std::get_if<TranslationFailure>(&outcome))
        m_outcome = u"下载没有完成："_s + failure->message;
    else if (std::holds_alternative<Cancelled>(outcome))
        m_outcome = u"已取消下载。"_s;
    render();
}

void TranslationStatusView::cancelDownload() {
    m_download.cancel();
}

void TranslationStatusView::showProgress(double fraction) {
    if (fraction < 0) {
        m_progress->setRange(0, 0); // busy until the server tells the size
        m_progressText->setText(u"正在连接…"_s);
        return;
    }
    const int percent = static_cast<int>(std::floor(std::min(fraction, 1.0) * 100));
    m_progress->setRange(0, 100);
    m_progress->setValue(percent);
    m_progressText->setText(u"已下载 %1%"_s.arg(percent));
}

void TranslationStatusView::render() {
    const bool ollama = m_settings.api() == TranslationSettings::Api::ollama;
    const QString model = m_settings.model();
    const TranslationAssetStatus status = m_translator.assetStatus();
    QString state;
    QString hint;
    switch (m_activity) {
    case Activity::checking:
        state = u"正在检查…"_s;
        break;
    case Activity::downloading:
        state = u"正在下载模型"_s;
        hint = u"下载在后台进行，可以先关掉这个窗口。"_s;
        break;
    case Activity::idle:
        state = assetStatusWords(status);
        switch (status) {
        case TranslationAssetStatus::installed:
            hint = u"句子由模型「%1」整句翻译。"_s.arg(model);
            break;
        case TranslationAssetStatus::supportedNotDownloaded:
            hint =
                ollama
                    ? u"服务已连上，但还没有模型「%1」。下载一次即可，视网速要几分钟。"_s.arg(model)
                    : u"服务已连上，但没有模型「%1」，请在服务端载入它。"_s.arg(model);
            break;
        case TranslationAssetStatus::unsupported:
            hint = ollama ? u"请先启动 Ollama（在终端运行 ollama serve），再点「重新检查」。"_s
                          : u"请先启动翻译服务，并确认地址和服务类型无误，再点「重新检查」。"_s;
            break;
        }
        break;
    }
    if (!m_outcome.isEmpty())
        hint = m_outcome + u"\n"_s + hint;

    const bool idle = m_activity == Activity::idle;
    const bool downloading = m_activity == Activity::downloading;
    m_status->setText(u"状态："_s + state);
    m_hint->setText(hint);
    m_hint->setVisible(!hint.isEmpty());
    m_recheck->setVisible(idle);
    m_startDownload->setVisible(idle && ollama &&
                                status == TranslationAssetStatus::supportedNotDownloaded);
    m_cancel->setVisible(downloading);
    m_progress->setVisible(downloading);
    m_progressText->setVisible(downloading);
}
