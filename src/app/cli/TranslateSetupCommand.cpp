#include "cli/TranslateSetupCommand.h"

#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "logs/EventLog.h"
#include "lookup/TranslationEngine.h"
#include "platform/TranslationEngineFactory.h"
#include "settings/RenameMigration.h"
#include "settings/TranslationSettings.h"

#include <QObject>
#include <algorithm>
#include <cmath>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace TranslateSetupCommand {
namespace {

// A bar redrawn in place on a terminal; in a pipe or a file, one line per tenth instead of
// a stream of carriage returns.
class ProgressDisplay {
public:
    ProgressDisplay() : m_redraws(isatty(fileno(stdout)) == 1) {}

    void show(double fraction) {
        const int percent = static_cast<int>(std::floor(std::clamp(fraction, 0.0, 1.0) * 100));
        const int step = m_redraws ? percent : percent / 10 * 10;
        if (step <= m_shown)
            return;
        m_shown = step;
        if (!m_redraws) {
            Output::line(stdout, u"下载中 %1%"_s.arg(step));
            return;
        }
        constexpr int width = 30;
        const int filled = percent * width / 100;
        const QString bar = QString(filled, u'█') + QString(width - filled, u'░');
        const QByteArray line = (u"\r下载中 ["_s + bar + u"] %1%"_s.arg(percent, 3)).toUtf8();
        std::fwrite(line.constData(), 1, static_cast<size_t>(line.size()), stdout);
        std::fflush(stdout);
    }

    // Leaves the bar's line before anything else is printed.
    void end() {
        if (m_redraws && m_shown >= 0)
            Output::line(stdout, QByteArray());
    }

private:
    bool m_redraws;
    int m_shown = -1;
};

} // namespace

int run(const QStringList& arguments) {
    if (!arguments.isEmpty())
        return CommandLine::usageError(u"多余的参数："_s + arguments.join(u' '),
                                       u"translate-setup"_s);
    RenameMigration::runIfNeeded();
    const TranslationSettings& settings = TranslationSettings::shared();
    const bool ollama = settings.api() == TranslationSettings::Api::ollama;
    Output::line(stdout,
                 u"翻译服务：%1（%2）"_s.arg(settings.endpoint().toString(),
                                             ollama ? u"Ollama 接口"_s : u"OpenAI 兼容接口"_s));
    Output::line(stdout, u"模型：%1"_s.arg(settings.model()));

    const std::unique_ptr<TranslationEngine> engine =
        TranslationEngineFactory::create(TranslationSettings::shared(), EventLog::shared());
    QCoro::waitFor(engine->refreshAssetStatus());
    const TranslationAssetStatus status = engine->assetStatus();
    Output::line(stdout, u"状态："_s + assetStatusWords(status));
    if (status == TranslationAssetStatus::installed)
        return CommandLine::success;
    if (status == TranslationAssetStatus::unsupported) {
        Output::line(stderr, u"请先启动翻译服务（例如 ollama serve），或用 quillet settings set "
                             "translation.endpoint 网址 指向它。"_s);
        return CommandLine::failed;
    }

    Output::line(stdout, u"正在准备模型 %1…"_s.arg(settings.model()));
    ProgressDisplay progress;
    QObject::connect(engine.get(), &TranslationEngine::preparationProgress,
                     [&progress](double fraction) { progress.show(fraction); });
    const PreparationOutcome outcome =
        QCoro::waitFor(engine->prepareInteractively(CancellationToken()));
    progress.end();
    if (const auto* failure = std::get_if<TranslationFailure>(&outcome)) {
        Output::line(stderr, u"未能准备模型："_s + failure->message);
        return CommandLine::failed;
    }
    Output::line(stdout, u"状态："_s + assetStatusWords(engine->assetStatus()));
    return engine->assetStatus() == TranslationAssetStatus::installed ? CommandLine::success
                                                                      : CommandLine::failed;
}

} // namespace TranslateSetupCommand
