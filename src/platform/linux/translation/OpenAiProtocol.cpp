#include "OpenAiProtocol.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {
using Kind = ServerFailure::Kind;
}

QUrl OpenAiProtocol::apiUrl(const QString& path) const {
    return url(m_endpoint.path().endsWith(u"/v1"_s) ? path : u"/v1"_s + path);
}

bool OpenAiProtocol::sameModel(const QString& listed, const QString& wanted) const {
    if (listed.compare(wanted, Qt::CaseInsensitive) == 0)
        return true;
    // llama.cpp's server lists the path of the file it was started with.
    QString file = listed.section(u'/', -1);
    if (file.endsWith(u".gguf"_s, Qt::CaseInsensitive))
        file.chop(5);
    return file.compare(wanted, Qt::CaseInsensitive) == 0;
}

QCoro::Task<ServerOutcome<QStringList>> OpenAiProtocol::listModels(CancellationToken token) {
    const ServerOutcome<QJsonArray> models =
        co_await listing(apiUrl(u"/models"_s), u"data"_s, token);
    const auto* listed = std::get_if<QJsonArray>(&models);
    if (!listed)
        co_return passOn<QStringList>(models);
    QStringList names;
    for (const QJsonValue& model : *listed) {
        const QString id = model.toObject().value(u"id"_s).toString();
        if (!id.isEmpty())
            names.append(id);
    }
    co_return names;
}

QCoro::Task<std::optional<bool>> OpenAiProtocol::isLoaded(QString, CancellationToken) {
    co_return std::nullopt;
}

QCoro::Task<ServerOutcome<QString>> OpenAiProtocol::chat(Chat chat, CancellationToken token) {
    QJsonObject body{
        {u"model"_s, chat.model},
        {u"messages"_s,
         QJsonArray{QJsonObject{{u"role"_s, u"system"_s}, {u"content"_s, chat.instructions}},
                    QJsonObject{{u"role"_s, u"user"_s}, {u"content"_s, chat.text}}}},
        {u"temperature"_s, 0},
        {u"stream"_s, false},
    };
    if (chat.maxTokens > 0)
        body.insert(u"max_tokens"_s, chat.maxTokens);
    HttpExchange::Request request{.url = apiUrl(u"/chat/completions"_s),
                                  .jsonBody = QJsonDocument(body).toJson(QJsonDocument::Compact),
                                  .limits = m_limits.chat};
    // vLLM and LM Studio answer an unknown model with 404 and their reason.
    const ServerOutcome<QByteArray> answer =
        co_await exchange(std::move(request), token, NotFound::modelMissing);
    const auto* answered = std::get_if<QByteArray>(&answer);
    if (!answered)
        co_return passOn<QString>(answer);
    const QJsonValue content = QJsonDocument::fromJson(*answered)
                                   .object()
                                   .value(u"choices"_s)
                                   .toArray()
                                   .at(0)
                                   .toObject()
                                   .value(u"message"_s)
                                   .toObject()
                                   .value(u"content"_s);
    if (!content.isString())
        co_return ServerFailure{Kind::badAnswer, {}};
    co_return content.toString();
}

QCoro::Task<ServerOutcome<ModelPulled>> OpenAiProtocol::pull(QString, std::function<void(double)>,
                                                             CancellationToken token) {
    if (token.isCancelled())
        co_return Cancelled{};
    co_return ServerFailure{Kind::cannotPull, {}};
}
