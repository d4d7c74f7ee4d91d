#include "OllamaProtocol.h"

#include "OllamaPullStream.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

namespace {

using Kind = ServerFailure::Kind;

// "llama3" and "llama3:latest" name the same model.
QString withTag(const QString& name) {
    return name.contains(u':') ? name : name + u":latest"_s;
}

} // namespace

bool OllamaProtocol::sameModel(const QString& listed, const QString& wanted) const {
    return withTag(listed).compare(withTag(wanted), Qt::CaseInsensitive) == 0;
}

QCoro::Task<ServerOutcome<QStringList>> OllamaProtocol::names(QString path,
                                                              CancellationToken token) {
    // Named locals around co_await: GCC 12 destroys temporaries in the expression twice.
    QUrl address = url(path);
    QString field = u"models"_s;
    const ServerOutcome<QJsonArray> models =
        co_await listing(std::move(address), std::move(field), token);
    const auto* listed = std::get_if<QJsonArray>(&models);
    if (!listed)
        co_return passOn<QStringList>(models);
    QStringList names;
    for (const QJsonValue& model : *listed) {
        const QJsonObject object = model.toObject();
        const QString name = object.value(u"name"_s).toString(object.value(u"model"_s).toString());
        if (!name.isEmpty())
            names.append(name);
    }
    co_return names;
}

QCoro::Task<ServerOutcome<QStringList>> OllamaProtocol::listModels(CancellationToken token) {
    const QString path = u"/api/tags"_s;
    co_return co_await names(path, token);
}

QCoro::Task<std::optional<bool>> OllamaProtocol::isLoaded(QString model, CancellationToken token) {
    const QString path = u"/api/ps"_s;
    const ServerOutcome<QStringList> loaded = co_await names(path, token);
    const auto* list = std::get_if<QStringList>(&loaded);
    if (!list)
        co_return std::nullopt;
    co_return std::any_of(list->begin(), list->end(),
                          [&](const QString& name) { return sameModel(name, model); });
}

QCoro::Task<ServerOutcome<QString>> OllamaProtocol::chat(Chat chat, CancellationToken token) {
    QJsonObject options{{u"temperature"_s, 0}};
    if (chat.maxTokens > 0)
        options.insert(u"num_predict"_s, chat.maxTokens);
    const QJsonObject body{
        {u"model"_s, chat.model},
        {u"messages"_s, messages(chat)},
        {u"stream"_s, false},
        {u"options"_s, options},
    };
    const auto reply = [](const QJsonObject& answer) {
        return answer.value(u"message"_s).toObject().value(u"content"_s);
    };
    QUrl address = url(u"/api/chat"_s);
    const ServerOutcome<QString> replied =
        co_await postChat(std::move(address), body, reply, token);
    co_return replied;
}

QCoro::Task<ServerOutcome<ModelPulled>>
OllamaProtocol::pull(QString model, std::function<void(double)> progress, CancellationToken token) {
    OllamaPullStream stream;
    double reported = -1;
    const auto report = [&] {
        if (stream.fraction() > reported && progress) {
            reported = stream.fraction();
            progress(reported);
        }
    };
    // "name" is what servers before "model" existed read.
    const QJsonObject body{{u"model"_s, model}, {u"name"_s, model}, {u"stream"_s, true}};
    HttpExchange::Request request{.url = url(u"/api/pull"_s),
                                  .jsonBody = compact(body),
                                  .limits = m_limits.pull,
                                  .onChunk = [&](const QByteArray& chunk) {
                                      if (reported < 0 && progress) {
                                          reported = 0; // the server has begun
                                          progress(0);
                                      }
                                      stream.feed(chunk);
                                      report();
                                  }};
    const HttpExchange::Outcome outcome =
        co_await HttpExchange::send(m_manager, m_timers, std::move(request), token);
    if (auto failed = unanswered<ModelPulled>(outcome))
        co_return std::move(*failed);
    stream.finish();
    if (stream.error())
        co_return ServerFailure{Kind::serverError, *stream.error()};
    if (!succeeded(std::get<HttpExchange::Response>(outcome)))
        co_return ServerFailure{Kind::serverError, {}};
    if (!stream.succeeded())
        co_return ServerFailure{Kind::badAnswer, {}};
    report();
    co_return ModelPulled{};
}
