#include "ModelServerProtocol.h"

#include <QJsonDocument>
#include <QJsonObject>

using namespace Qt::StringLiterals;

QUrl ModelServerProtocol::url(const QString& path) const {
    QUrl url = m_endpoint;
    url.setPath(url.path() + path);
    return url;
}

ServerFailure ModelServerProtocol::failureOf(HttpExchange::Failure failure) {
    using Kind = ServerFailure::Kind;
    switch (failure) {
    case HttpExchange::Failure::noServer:
        return {Kind::noServer, {}};
    case HttpExchange::Failure::timedOut:
        return {Kind::timedOut, {}};
    case HttpExchange::Failure::dropped:
        return {Kind::dropped, {}};
    case HttpExchange::Failure::notHttp:
    case HttpExchange::Failure::cancelled:
        break;
    }
    return {Kind::badAnswer, {}};
}

QString ModelServerProtocol::errorDetail(const QByteArray& body) {
    const QJsonObject object = QJsonDocument::fromJson(body).object();
    const QJsonValue error = object.value(u"error"_s);
    if (error.isString())
        return error.toString();
    if (error.isObject())
        return error.toObject().value(u"message"_s).toString();
    return object.value(u"message"_s).toString();
}

QCoro::Task<ServerOutcome<QByteArray>> ModelServerProtocol::exchange(HttpExchange::Request request,
                                                                     CancellationToken token,
                                                                     NotFound notFound) {
    // Named locals around co_await: GCC 12 destroys temporaries in the expression twice.
    const HttpExchange::Outcome outcome =
        co_await HttpExchange::send(m_manager, m_timers, std::move(request), token);
    if (auto failed = unanswered<QByteArray>(outcome))
        co_return std::move(*failed);
    const auto& response = std::get<HttpExchange::Response>(outcome);
    if (succeeded(response))
        co_return response.body;
    const QString detail = errorDetail(response.body);
    if (notFound == NotFound::modelMissing && response.status == 404 && !detail.isEmpty())
        co_return ServerFailure{ServerFailure::Kind::modelMissing, detail};
    co_return ServerFailure{ServerFailure::Kind::serverError, detail};
}

QCoro::Task<ServerOutcome<QJsonArray>> ModelServerProtocol::listing(QUrl url, QString field,
                                                                    CancellationToken token) {
    HttpExchange::Request request{
        .url = std::move(url), .jsonBody = std::nullopt, .limits = m_limits.quick};
    const ServerOutcome<QByteArray> answer = co_await exchange(std::move(request), token);
    const auto* answered = std::get_if<QByteArray>(&answer);
    if (!answered)
        co_return passOn<QJsonArray>(answer);
    const QJsonValue array = QJsonDocument::fromJson(*answered).object().value(field);
    if (!array.isArray())
        co_return ServerFailure{ServerFailure::Kind::badAnswer, {}};
    co_return array.toArray();
}

QJsonArray ModelServerProtocol::messages(const Chat& chat) {
    return {QJsonObject{{u"role"_s, u"system"_s}, {u"content"_s, chat.instructions}},
            QJsonObject{{u"role"_s, u"user"_s}, {u"content"_s, chat.text}}};
}

QByteArray ModelServerProtocol::compact(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QCoro::Task<ServerOutcome<QString>>
ModelServerProtocol::postChat(QUrl url, QJsonObject body,
                              QJsonValue (*reply)(const QJsonObject& answer),
                              CancellationToken token) {
    HttpExchange::Request request{
        .url = std::move(url), .jsonBody = compact(body), .limits = m_limits.chat};
    const ServerOutcome<QByteArray> answer =
        co_await exchange(std::move(request), token, NotFound::modelMissing);
    const auto* answered = std::get_if<QByteArray>(&answer);
    if (!answered)
        co_return passOn<QString>(answer);
    const QJsonValue content = reply(QJsonDocument::fromJson(*answered).object());
    if (!content.isString())
        co_return ServerFailure{ServerFailure::Kind::badAnswer, {}};
    co_return content.toString();
}
