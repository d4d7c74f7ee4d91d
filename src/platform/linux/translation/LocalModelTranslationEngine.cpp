#include "LocalModelTranslationEngine.h"

#include "ModelAnswerCleanup.h"
#include "OllamaProtocol.h"
#include "OpenAiProtocol.h"
#include "logs/EventLog.h"
#include "settings/TranslationSettings.h"

#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QPointer>
#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

using Kind = ServerFailure::Kind;

const QString kTimedOut = u"翻译超时，请稍后再试"_s;
const QString kDropped = u"连接中断，请稍后再试"_s;
const QString kUnavailable = u"翻译服务不可用"_s;
const QString kServerError = u"翻译服务出错"_s;
const QString kBadAnswer = u"翻译服务的答复无法识别"_s;
const QString kNoTranslation = u"翻译服务没有给出译文"_s;
const QString kFirstUse = u"首次使用，正在准备英中语言包（可能超过 30 秒）"_s;
const QString kPrepared = u"英→中语言包可用"_s;
const QString kPreparationFailed = u"语言包检查失败："_s;

// Asks for the translation and nothing else. Unknown words come back unchanged, which the
// lookup reads as "no translation" instead of showing an invented one.
const QString kInstructions =
    u"You are a translation engine. Translate the user's English text into Simplified "
    "Chinese. Reply with the translation only: no explanations, notes, pinyin, labels, "
    "quotation marks or the original text. Keep names, numbers and code unchanged. For a "
    "single word, give its most common Chinese meaning. If the text cannot be translated, "
    "reply with it unchanged."_s;

QString failureText(Kind kind) {
    switch (kind) {
    case Kind::timedOut:
        return kTimedOut;
    case Kind::dropped:
        return kDropped;
    case Kind::serverError:
        return kServerError;
    case Kind::badAnswer:
        return kBadAnswer;
    case Kind::noServer:
    case Kind::modelMissing:
    case Kind::cannotPull:
        break;
    }
    return kUnavailable;
}

// The server is there but did not finish answering: that says nothing about the model.
bool saysNothingAboutTheModel(Kind kind) {
    return kind == Kind::timedOut || kind == Kind::dropped;
}

// Chinese is rarely longer in tokens than the English it translates; the cap only stops a
// model that would otherwise ramble until the time limit.
int tokenBudget(const QString& text) {
    return 64 + 2 * static_cast<int>(std::min<qsizetype>(text.size(), 50'000));
}

bool isLoopback(const QString& host) {
    const QHostAddress address(host);
    return host.compare(u"localhost"_s, Qt::CaseInsensitive) == 0 ||
           (!address.isNull() && address.isLoopback());
}

} // namespace

LocalModelTranslationEngine::Timing LocalModelTranslationEngine::Timing::standard() {
    return {
        .limits = {.quick = {.connect = 2s, .total = 5s},
                   // Loading a model from a cold disk and writing a long paragraph on a CPU
                   // both take tens of seconds.
                   .chat = {.connect = 3s, .total = 120s},
                   // Hours for a slow line are fine as long as bytes keep coming.
                   .pull = {.connect = 3s, .total = 6h, .stall = 120s}},
        .noticeWhenUnloaded = 500ms,
        .noticeWhenUnknown = 3s,
    };
}

LocalModelTranslationEngine::Timing LocalModelTranslationEngine::Timing::commandLine() {
    Timing timing = standard();
    // Someone is waiting at the terminal. A running local server lists its models within
    // milliseconds, even while it loads or runs a model, so a server that has not answered
    // that in 3 s has stopped answering: the first translation of a command asks the listing
    // first and gives such a server up after at most these 3 s. (The agent asks at start,
    // where nobody waits.)
    timing.limits.quick = {.connect = 2s, .total = 3s};
    return timing;
}

LocalModelTranslationEngine::LocalModelTranslationEngine(TranslationSettings& settings,
                                                         EventLog& log, Timing timing,
                                                         QObject* parent)
    : TranslationEngine(parent), m_settings(settings), m_log(log), m_timing(timing) {
    connect(&m_settings, &TranslationSettings::changed, this, [this] { forgetServer(); });
}

LocalModelTranslationEngine::~LocalModelTranslationEngine() = default;

std::shared_ptr<ModelServerProtocol> LocalModelTranslationEngine::protocol() {
    if (m_protocol)
        return m_protocol;
    if (!m_manager)
        m_manager = new QNetworkAccessManager(this);
    const QUrl endpoint = m_settings.endpoint();
    // A proxy from the environment must not carry what the user reads off the machine.
    m_manager->setProxy(isLoopback(endpoint.host()) ? QNetworkProxy(QNetworkProxy::NoProxy)
                                                    : QNetworkProxy(QNetworkProxy::DefaultProxy));
    if (m_settings.api() == TranslationSettings::Api::openAi)
        m_protocol = std::make_shared<OpenAiProtocol>(*m_manager, endpoint, m_timing.limits,
                                                      *m_timing.timers);
    else
        m_protocol = std::make_shared<OllamaProtocol>(*m_manager, endpoint, m_timing.limits,
                                                      *m_timing.timers);
    return m_protocol;
}

// Another server or model: what was learnt about the old one no longer holds.
void LocalModelTranslationEngine::forgetServer() {
    m_protocol.reset();
    m_statusKnown = false;
    m_firstUseSettled = false;
    m_listedModels.clear();
}

void LocalModelTranslationEngine::learn(TranslationAssetStatus status) {
    m_statusKnown = true;
    if (status == m_status)
        return;
    m_status = status;
    Q_EMIT assetStatusChanged(status);
}

void LocalModelTranslationEngine::announceFirstUse() {
    if (m_firstUseSettled)
        return;
    m_firstUseSettled = true;
    Q_EMIT notice(kFirstUse);
}

QCoro::Task<TranslationOutcome> LocalModelTranslationEngine::translate(QString text,
                                                                       CancellationToken token) {
    if (token.isCancelled())
        co_return Cancelled{};
    const std::shared_ptr<ModelServerProtocol> protocol = this->protocol();
    const QString model = m_settings.model();
    const QPointer<LocalModelTranslationEngine> self(this);

    // A server not heard from yet is first asked for its models, which it answers at once
    // when it works: one that is gone or has stopped answering is given up within the quick
    // limit, not the long one a translation gets. An odd listing does not stop the chat.
    if (!m_statusKnown) {
        const ServerOutcome<QStringList> listed = co_await refresh(token);
        if (!self || token.isCancelled() || std::holds_alternative<Cancelled>(listed))
            co_return Cancelled{};
        if (const auto* failure = std::get_if<ServerFailure>(&listed)) {
            if (failure->kind == Kind::noServer || saysNothingAboutTheModel(failure->kind))
                co_return TranslationFailure{failureText(failure->kind)};
        }
    }

    // The first answer of a run may wait for the server to load the model. Ollama tells
    // whether the model is in memory; elsewhere only a slow answer tells. A missing model is
    // refused at once, so the notice waits a moment even when the model is known unloaded.
    std::unique_ptr<TimerSource::Timer> firstUse;
    if (!m_firstUseSettled) {
        const std::optional<bool> loaded = co_await protocol->isLoaded(model, token);
        if (!self || token.isCancelled())
            co_return Cancelled{};
        if (loaded == true)
            m_firstUseSettled = true;
        else
            firstUse = m_timing.timers->start(
                loaded == false ? m_timing.noticeWhenUnloaded : m_timing.noticeWhenUnknown, [self] {
                    if (self)
                        self->announceFirstUse();
                });
    }

    ModelServerProtocol::Chat chat{.model = model,
                                   .instructions = kInstructions,
                                   .text = text,
                                   .maxTokens = tokenBudget(text)};
    const ServerOutcome<QString> answer = co_await protocol->chat(std::move(chat), token);
    firstUse.reset();
    if (!self || token.isCancelled() || std::holds_alternative<Cancelled>(answer))
        co_return Cancelled{};
    // An answer from a server the settings have since replaced teaches nothing.
    const bool current = protocol == m_protocol;
    if (const auto* failure = std::get_if<ServerFailure>(&answer)) {
        // What the failure says about the model is what the lookup reports to the user.
        if (current && failure->kind == Kind::noServer)
            learn(TranslationAssetStatus::unsupported);
        else if (current && failure->kind == Kind::modelMissing)
            learn(TranslationAssetStatus::supportedNotDownloaded);
        co_return TranslationFailure{failureText(failure->kind)};
    }
    if (current) {
        learn(TranslationAssetStatus::installed);
        m_firstUseSettled = true;
    }
    if (std::optional<QString> cleaned =
            ModelAnswerCleanup::translation(std::get<QString>(answer), text))
        co_return *cleaned;
    co_return TranslationFailure{kNoTranslation};
}

QCoro::Task<ServerOutcome<QStringList>>
LocalModelTranslationEngine::refresh(CancellationToken token) {
    const std::shared_ptr<ModelServerProtocol> protocol = this->protocol();
    const QString model = m_settings.model();
    const QPointer<LocalModelTranslationEngine> self(this);
    ServerOutcome<QStringList> listed = co_await protocol->listModels(token);
    if (!self || std::holds_alternative<Cancelled>(listed) || token.isCancelled())
        co_return Cancelled{};
    if (protocol != m_protocol)
        co_return listed; // the settings changed meanwhile
    if (const auto* names = std::get_if<QStringList>(&listed)) {
        m_listedModels = *names;
        const bool present = std::any_of(names->begin(), names->end(), [&](const QString& name) {
            return protocol->sameModel(name, model);
        });
        learn(present ? TranslationAssetStatus::installed
                      : TranslationAssetStatus::supportedNotDownloaded);
    } else if (!saysNothingAboutTheModel(std::get<ServerFailure>(listed).kind)) {
        m_listedModels.clear();
        learn(TranslationAssetStatus::unsupported);
    }
    co_return listed;
}

QCoro::Task<void> LocalModelTranslationEngine::refreshAssetStatus() {
    const CancellationToken never;
    co_await refresh(never);
}

PreparationOutcome LocalModelTranslationEngine::preparationFailed(const QString& text) {
    m_log.append(EventLog::Kind::error, kPreparationFailed + text);
    return TranslationFailure{text};
}

QCoro::Task<PreparationOutcome>
LocalModelTranslationEngine::prepareInteractively(CancellationToken token) {
    const std::shared_ptr<ModelServerProtocol> protocol = this->protocol();
    const QString model = m_settings.model();
    const auto withDetail = [](const ServerFailure& failure) {
        return failure.detail.isEmpty()
                   ? failureText(failure.kind)
                   : failureText(failure.kind) + u"（"_s + failure.detail + u"）"_s;
    };

    const ServerOutcome<QStringList> before = co_await refresh(token);
    if (std::holds_alternative<Cancelled>(before))
        co_return Cancelled{};
    if (const auto* failure = std::get_if<ServerFailure>(&before))
        co_return preparationFailed(withDetail(*failure));

    if (m_status != TranslationAssetStatus::installed) {
        // A few lines in the event log are enough to show a download moving.
        int loggedQuarter = -1;
        std::function<void(double)> progress = [&](double fraction) {
            if (loggedQuarter < 0) {
                m_log.append(EventLog::Kind::trigger, u"翻译模型｜开始下载 "_s + model);
                loggedQuarter = 0;
            }
            Q_EMIT preparationProgress(fraction);
            const int quarter = static_cast<int>(fraction * 4);
            if (quarter > loggedQuarter && quarter < 4) {
                loggedQuarter = quarter;
                m_log.append(EventLog::Kind::result, u"翻译模型｜已下载 %1%"_s.arg(quarter * 25));
            }
        };
        const ServerOutcome<ModelPulled> pulled =
            co_await protocol->pull(model, std::move(progress), token);
        if (std::holds_alternative<Cancelled>(pulled) || token.isCancelled())
            co_return Cancelled{};
        if (const auto* failure = std::get_if<ServerFailure>(&pulled)) {
            if (failure->kind != Kind::cannotPull)
                co_return preparationFailed(withDetail(*failure));
            QString text = u"这个翻译服务不能下载模型，请在服务端载入「%1」"_s.arg(model);
            if (!m_listedModels.isEmpty())
                text += u"（服务端现有：%1）"_s.arg(m_listedModels.join(u"、"_s));
            co_return preparationFailed(text);
        }
        const ServerOutcome<QStringList> after = co_await refresh(token);
        if (std::holds_alternative<Cancelled>(after))
            co_return Cancelled{};
        if (const auto* failure = std::get_if<ServerFailure>(&after))
            co_return preparationFailed(withDetail(*failure));
        if (m_status != TranslationAssetStatus::installed)
            co_return preparationFailed(kUnavailable);
    }
    m_log.append(EventLog::Kind::result, kPrepared);
    co_return TranslationAssetsReady{};
}
