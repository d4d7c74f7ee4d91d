#include "HttpExchange.h"

#include <QCoroNetworkReply>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <memory>

namespace HttpExchange {
namespace {

struct LaterDeleter {
    void operator()(QNetworkReply* reply) const { reply->deleteLater(); }
};

enum class Stop { none, connectLimit, totalLimit, stallLimit, tooLarge, cancelled };

Outcome classify(const QNetworkReply& reply, Stop stop, bool answered, QByteArray body) {
    switch (stop) {
    case Stop::cancelled:
        return Failure::cancelled;
    case Stop::connectLimit:
        return Failure::noServer;
    case Stop::totalLimit:
    case Stop::stallLimit:
        return Failure::timedOut;
    case Stop::tooLarge:
        return Failure::notHttp;
    case Stop::none:
        break;
    }
    switch (reply.error()) {
    case QNetworkReply::NoError:
        break;
    case QNetworkReply::ConnectionRefusedError:
    case QNetworkReply::HostNotFoundError:
    case QNetworkReply::TimeoutError:
    case QNetworkReply::TemporaryNetworkFailureError:
    case QNetworkReply::NetworkSessionFailedError:
    case QNetworkReply::UnknownNetworkError:
    case QNetworkReply::ProxyConnectionRefusedError:
    case QNetworkReply::ProxyNotFoundError:
    case QNetworkReply::ProxyTimeoutError:
        return Failure::noServer;
    case QNetworkReply::RemoteHostClosedError:
        // Closing before a word of answer is not how an HTTP server says no.
        return answered ? Failure::dropped : Failure::notHttp;
    case QNetworkReply::OperationCanceledError:
        // Every abort of ours sets `stop`, so this one came from elsewhere.
        return Failure::dropped;
    default:
        break; // an HTTP error status: the caller reads the status and the body
    }
    const QVariant status = reply.attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid())
        return Failure::notHttp;
    return Response{status.toInt(), std::move(body)};
}

} // namespace

QCoro::Task<Outcome> send(QNetworkAccessManager& manager, TimerSource& timers, Request request,
                          CancellationToken token) {
    if (token.isCancelled())
        co_return Failure::cancelled;

    QNetworkRequest networkRequest(request.url);
    // A redirect from a local model server is unexpected; never follow it elsewhere.
    networkRequest.setAttribute(QNetworkRequest::RedirectPolicyAttribute,
                                QNetworkRequest::ManualRedirectPolicy);
    networkRequest.setRawHeader("Accept", "application/json, application/x-ndjson");
    std::unique_ptr<QNetworkReply, LaterDeleter> reply;
    if (request.jsonBody) {
        networkRequest.setHeader(QNetworkRequest::ContentTypeHeader,
                                 QByteArrayLiteral("application/json"));
        reply.reset(manager.post(networkRequest, *request.jsonBody));
    } else {
        reply.reset(manager.get(networkRequest));
    }
    QNetworkReply* const r = reply.get();

    Stop stop = Stop::none;
    bool answered = false;
    qint64 received = 0;
    QByteArray body;
    // The abort goes through the event loop, so a timer or a canceller never sees this
    // coroutine finish inside its own call.
    const auto stopWith = [&stop, r](Stop why) {
        if (stop != Stop::none)
            return;
        stop = why;
        QMetaObject::invokeMethod(
            r, [r] { r->abort(); }, Qt::QueuedConnection);
    };
    const auto consume = [&](const QByteArray& chunk) {
        if (chunk.isEmpty())
            return;
        answered = true;
        received += chunk.size();
        // A stream is handed on as it comes and may run long; only what is kept is capped.
        if (!request.onChunk && received > request.limits.maxBodyBytes) {
            stopWith(Stop::tooLarge);
            return;
        }
        if (request.onChunk)
            request.onChunk(chunk);
        else
            body.append(chunk);
    };

    // Every connection below ends with this frame: `guard` and the timers go with it.
    QObject guard;
    const std::unique_ptr<TimerSource::Timer> totalTimer =
        timers.start(request.limits.total, [&stopWith] { stopWith(Stop::totalLimit); });
    std::unique_ptr<TimerSource::Timer> connectTimer =
        timers.start(request.limits.connect, [&stopWith] { stopWith(Stop::connectLimit); });
    QObject::connect(r, &QNetworkReply::requestSent, &guard,
                     [&connectTimer] { connectTimer.reset(); });

    const bool watchesStalls = request.limits.stall.count() > 0;
    std::unique_ptr<TimerSource::Timer> stallTimer;
    const auto watchForStall = [&] {
        if (watchesStalls)
            stallTimer =
                timers.start(request.limits.stall, [&stopWith] { stopWith(Stop::stallLimit); });
    };
    watchForStall();

    QObject::connect(r, &QNetworkReply::metaDataChanged, &guard, [&answered] { answered = true; });
    QObject::connect(r, &QNetworkReply::readyRead, &guard, [&] {
        watchForStall();
        consume(r->readAll());
    });
    const CancellationToken::Subscription cancellation =
        token.onCancel([&stopWith] { stopWith(Stop::cancelled); });

    co_await r;
    // An aborted reply is closed, and reading it would only print a warning.
    if (r->isOpen())
        consume(r->readAll());
    co_return classify(*r, stop, answered, std::move(body));
}

} // namespace HttpExchange
