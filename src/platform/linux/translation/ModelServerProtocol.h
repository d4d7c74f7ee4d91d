#pragma once

#include "HttpExchange.h"
#include "base/Cancellation.h"

#include <QCoroTask>
#include <QJsonArray>
#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <variant>

class QNetworkAccessManager;

// Why the model server gave no usable answer.
struct ServerFailure {
    enum class Kind {
        noServer,     // nothing (usable) listening at the endpoint
        timedOut,     // a time limit ran out
        dropped,      // the server broke the transfer off
        serverError,  // the server answered with an error (an HTTP error status, an error line)
        badAnswer,    // an answer that is not what the protocol promises
        modelMissing, // the server runs but does not have the model
        cannotPull,   // the protocol has no way to fetch a model
    };
    Kind kind;
    QString detail; // the server's own words, when it gave any
};

// The model is on the server now. (QCoro keeps std::monostate for "no value yet", so a
// finished pull needs a type of its own.)
struct ModelPulled {};

template <typename Value> using ServerOutcome = std::variant<Value, ServerFailure, Cancelled>;

// One way of talking to a local model server. Stateless apart from where the server is.
class ModelServerProtocol {
public:
    struct Limits {
        HttpExchange::Limits quick; // listings: the server answers these at once or is not up
        HttpExchange::Limits chat;  // a local model may have to load first, then write
        HttpExchange::Limits pull;  // downloads run for minutes; only silence is limited
    };
    struct Chat {
        QString model;
        QString instructions; // the system message
        QString text;         // the user message
        int maxTokens = 0;
    };

    ModelServerProtocol(QNetworkAccessManager& manager, QUrl endpoint, Limits limits,
                        TimerSource& timers)
        : m_manager(manager), m_endpoint(std::move(endpoint)), m_limits(limits), m_timers(timers) {}
    virtual ~ModelServerProtocol() = default;

    // The names of the models the server can answer with.
    virtual QCoro::Task<ServerOutcome<QStringList>> listModels(CancellationToken token) = 0;
    // Whether the model is loaded into memory now; nothing when the protocol cannot tell.
    virtual QCoro::Task<std::optional<bool>> isLoaded(QString model, CancellationToken token) = 0;
    // The assistant's reply, as written.
    virtual QCoro::Task<ServerOutcome<QString>> chat(Chat chat, CancellationToken token) = 0;
    // Fetches the model; `progress` receives the fraction done (0…1) as it grows.
    virtual QCoro::Task<ServerOutcome<ModelPulled>>
    pull(QString model, std::function<void(double)> progress, CancellationToken token) = 0;

    // Whether `listed` (a name from listModels) is the model named in the settings.
    virtual bool sameModel(const QString& listed, const QString& wanted) const = 0;

protected:
    enum class NotFound { serverError, modelMissing };

    QUrl url(const QString& path) const;
    // Sends the request: the body of a 2xx answer, else what went wrong. With
    // NotFound::modelMissing, a 404 that gives a reason says the server lacks the model.
    QCoro::Task<ServerOutcome<QByteArray>> exchange(HttpExchange::Request request,
                                                    CancellationToken token,
                                                    NotFound notFound = NotFound::serverError);
    // A quick GET whose JSON answer is an object holding an array under `field`.
    QCoro::Task<ServerOutcome<QJsonArray>> listing(QUrl url, QString field,
                                                   CancellationToken token);
    // The system and user messages of a chat, as both protocols send them.
    static QJsonArray messages(const Chat& chat);
    static QByteArray compact(const QJsonObject& object);
    // Posts a chat request; the reply is the string `reply` picks out of the JSON answer.
    // Servers of both kinds answer a model they lack with 404 and their reason.
    QCoro::Task<ServerOutcome<QString>> postChat(QUrl url, QJsonObject body,
                                                 QJsonValue (*reply)(const QJsonObject& answer),
                                                 CancellationToken token);
    // A transfer that got no answer, as the outcome of the call; nothing when it got one.
    template <typename Value>
    static std::optional<ServerOutcome<Value>> unanswered(const HttpExchange::Outcome& outcome) {
        const auto* failure = std::get_if<HttpExchange::Failure>(&outcome);
        if (!failure)
            return std::nullopt;
        if (*failure == HttpExchange::Failure::cancelled)
            return Cancelled{};
        return failureOf(*failure);
    }
    // A failed call, passed on as the outcome of another.
    template <typename Value, typename Other>
    static ServerOutcome<Value> passOn(const ServerOutcome<Other>& outcome) {
        if (std::holds_alternative<Cancelled>(outcome))
            return Cancelled{};
        return std::get<ServerFailure>(outcome);
    }
    // A failure of the transfer itself, in the protocol's terms.
    static ServerFailure failureOf(HttpExchange::Failure failure);
    // What the server said went wrong, from the usual error bodies of both protocols.
    static QString errorDetail(const QByteArray& body);
    static bool succeeded(const HttpExchange::Response& response) {
        return response.status >= 200 && response.status < 300;
    }

    QNetworkAccessManager& m_manager;
    QUrl m_endpoint;
    Limits m_limits;
    TimerSource& m_timers;
};
