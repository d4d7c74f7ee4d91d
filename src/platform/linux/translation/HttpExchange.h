#pragma once

#include "base/Cancellation.h"
#include "base/TimerSource.h"

#include <QByteArray>
#include <QCoroTask>
#include <QUrl>
#include <chrono>
#include <functional>
#include <optional>
#include <variant>

class QNetworkAccessManager;

// One HTTP request to the model server, awaited without blocking the event loop, with time
// limits of its own and cancellation that aborts the transfer at once.
namespace HttpExchange {

struct Limits {
    std::chrono::milliseconds connect;     // until the request is on the wire
    std::chrono::milliseconds total;       // from start to the last byte
    std::chrono::milliseconds stall{0};    // longest silence while receiving; 0 = none
    qint64 maxBodyBytes = 8 * 1024 * 1024; // a collected answer this big is not a model's
};

// Why no complete HTTP answer arrived.
enum class Failure {
    noServer,  // nothing listening, host unknown, or the connection could not be made in time
    timedOut,  // a time limit of ours ran out
    dropped,   // the server closed or aborted the transfer part-way
    notHttp,   // something answered, but not with a usable HTTP response
    cancelled, // our caller's token was cancelled
};

struct Response {
    int status = 0;  // HTTP status code
    QByteArray body; // empty when the body went to a chunk receiver
};

using Outcome = std::variant<Response, Failure>;

struct Request {
    QUrl url;
    std::optional<QByteArray> jsonBody; // POST when set, GET otherwise
    Limits limits;
    // Receives the body piece by piece as it arrives (streamed answers); when empty the body
    // is collected into the response.
    std::function<void(const QByteArray& chunk)> onChunk = {};
};

// The time limits run on `timers`.
QCoro::Task<Outcome> send(QNetworkAccessManager& manager, TimerSource& timers, Request request,
                          CancellationToken token);

} // namespace HttpExchange
