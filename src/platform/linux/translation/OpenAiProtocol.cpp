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
    QUrl address = apiUrl(u"/models"_s);
    QString field = u"data"_s;
    const ServerOutcome<QJsonArray> models =
        co_await listing(std::move(address), std::move(field), token);
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
        {u"messages"_s, messages(chat)},
        {u"temperature"_s, 0},
        {u"stream"_s, false},
    };
    if (chat.maxTokens > 0)
        body.insert(u"max_tokens"_s, chat.maxTokens);
    const auto reply = [](const QJsonObject& answer) {
        return answer.value(u"choices"_s)
            .toArray()
            .at(0)
            .toObject()
            .value(u"message"_s)
            .toObject()
            .value(u"content"_s);
    };
    QUrl address = apiUrl(u"/chat/completions"_s);
    const ServerOutcome<QString> replied =
        co_await postChat(std::move(address), body, reply, token);
    co_return replied;
}

QCoro::Task<ServerOutcome<ModelPulled>> OpenAiProtocol::pull(QString, std::function<void(double)>,
                                                             CancellationToken token) {
    if (token.isCancelled())
        co_return Cancelled{};
    co_return ServerFailure{Kind::cannotPull, {}};
}
