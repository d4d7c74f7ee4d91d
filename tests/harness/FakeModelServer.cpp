#include "harness/FakeModelServer.h"

#include <QHostAddress>
#include <QJsonArray>
#include <QJsonDocument>
#include <QPointer>
#include <QTcpSocket>
#include <QTimer>
#include <algorithm>
#include <memory>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

QByteArray statusText(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 400:
        return "Bad Request";
    case 404:
        return "Not Found";
    case 500:
        return "Internal Server Error";
    case 503:
        return "Service Unavailable";
    default:
        return "Status";
    }
}

QByteArray head(int status, const QByteArray& contentType, const QByteArray& lengthHeader) {
    return "HTTP/1.1 " + QByteArray::number(status) + ' ' + statusText(status) +
           "\r\nContent-Type: " + contentType + "\r\n" + lengthHeader + "\r\n\r\n";
}

QByteArray whole(int status, const QByteArray& contentType, const QByteArray& body) {
    return head(status, contentType, "Content-Length: " + QByteArray::number(body.size())) + body;
}

QByteArray json(const QJsonObject& object) {
    return QJsonDocument(object).toJson(QJsonDocument::Compact);
}

QByteArray chunk(const QByteArray& data) {
    return QByteArray::number(data.size(), 16) + "\r\n" + data + "\r\n";
}

QJsonArray modelList(const QStringList& names, const QString& nameKey) {
    QJsonArray list;
    for (const QString& name : names)
        list.append(QJsonObject{{nameKey, name}, {u"model"_s, name}, {u"object"_s, u"model"_s}});
    return list;
}

} // namespace

QJsonObject FakeModelServer::Request::json() const {
    return QJsonDocument::fromJson(body).object();
}

QString FakeModelServer::Request::message(const QString& role) const {
    for (const QJsonValue& message : json().value(u"messages"_s).toArray()) {
        if (message.toObject().value(u"role"_s).toString() == role)
            return message.toObject().value(u"content"_s).toString();
    }
    return {};
}

FakeModelServer::FakeModelServer(QObject* parent) : QObject(parent) {
    m_server.setParent(this); // moves to another thread along with the server
    connect(&m_server, &QTcpServer::newConnection, this, &FakeModelServer::accept);
}

FakeModelServer::~FakeModelServer() {
    for (QTcpSocket* socket : m_buffers.keys())
        socket->disconnect(this);
}

bool FakeModelServer::listen() {
    return m_server.listen(QHostAddress::LocalHost, 0);
}

QString FakeModelServer::endpoint() const {
    return u"http://127.0.0.1:%1"_s.arg(port());
}

QString FakeModelServer::closedEndpoint() {
    QTcpServer probe; // the port is free again when the probe goes
    probe.listen(QHostAddress::LocalHost, 0);
    return u"http://127.0.0.1:%1"_s.arg(probe.serverPort());
}

QList<QByteArray> FakeModelServer::paths() const {
    QList<QByteArray> paths;
    for (const Request& request : requests)
        paths.append(request.path);
    return paths;
}

bool FakeModelServer::received(const QByteArrayView& path) const {
    return std::any_of(requests.begin(), requests.end(),
                       [&](const Request& request) { return request.path == path; });
}

void FakeModelServer::release() {
    const QList<Held> held = std::exchange(m_held, {});
    for (const Held& h : held) {
        if (!h.socket)
            continue;
        Route route = routes.value(h.request.path);
        route.misbehaviour = Misbehaviour::none;
        route.delay = {};
        answerNormally(h.socket, h.request, route);
    }
}

void FakeModelServer::accept() {
    while (QTcpSocket* socket = m_server.nextPendingConnection()) {
        m_buffers.insert(socket, {});
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] { readFrom(socket); });
        connect(socket, &QTcpSocket::disconnected, this, [this, socket] {
            m_buffers.remove(socket);
            ++m_closed;
            socket->deleteLater();
        });
    }
}

void FakeModelServer::readFrom(QTcpSocket* socket) {
    QByteArray& buffer = m_buffers[socket];
    buffer.append(socket->readAll());
    // Several requests may arrive on one kept-alive connection.
    for (;;) {
        const qsizetype headEnd = buffer.indexOf("\r\n\r\n");
        if (headEnd < 0)
            return;
        const QList<QByteArray> lines = buffer.left(headEnd).split('\n');
        const QList<QByteArray> requestLine = lines.value(0).trimmed().split(' ');
        qsizetype length = 0;
        for (const QByteArray& line : lines.mid(1)) {
            const qsizetype colon = line.indexOf(':');
            if (colon > 0 && line.left(colon).trimmed().toLower() == "content-length")
                length = line.mid(colon + 1).trimmed().toLongLong();
        }
        if (buffer.size() < headEnd + 4 + length)
            return;
        Request request{requestLine.value(0), requestLine.value(1),
                        buffer.mid(headEnd + 4, length)};
        buffer.remove(0, headEnd + 4 + length);
        requests.append(request);
        serve(socket, request);
        if (!m_buffers.contains(socket))
            return;
    }
}

void FakeModelServer::serve(QTcpSocket* socket, const Request& request) {
    const Route route = routes.value(request.path);
    switch (route.misbehaviour) {
    case Misbehaviour::hang:
        return;
    case Misbehaviour::held:
        m_held.append({socket, request});
        return;
    case Misbehaviour::closeAtOnce:
        socket->abort();
        return;
    case Misbehaviour::notHttp:
        socket->write("SSH-2.0-OpenSSH_9.2p1\r\n");
        socket->disconnectFromHost();
        return;
    default:
        break;
    }
    QPointer<QTcpSocket> guarded(socket);
    const auto respond = [this, guarded, request, route] {
        if (!guarded)
            return;
        if (request.path == "/api/pull" && route.misbehaviour != Misbehaviour::garbage &&
            route.misbehaviour != Misbehaviour::httpError)
            streamPull(guarded, request, route);
        else
            answerNormally(guarded, request, route);
    };
    if (route.delay.count() > 0)
        QTimer::singleShot(route.delay, socket, respond);
    else
        respond();
}

void FakeModelServer::answerNormally(QTcpSocket* socket, const Request& request,
                                     const Route& route) {
    int status = 200;
    QByteArray body;
    const QByteArray& path = request.path;
    const QString model = request.json().value(u"model"_s).toString();
    if (route.misbehaviour == Misbehaviour::garbage) {
        body = "<html><body>502 Bad Gateway</body></html>";
    } else if (route.misbehaviour == Misbehaviour::httpError) {
        status = route.errorStatus;
        body = json({{u"error"_s, u"scripted failure"_s}});
    } else if (path == "/api/tags") {
        body = json({{u"models"_s, modelList(installed, u"name"_s)}});
    } else if (path == "/api/ps") {
        body = json({{u"models"_s, modelList(loaded, u"name"_s)}});
    } else if (path == "/api/chat") {
        if (!installed.contains(model)) {
            status = 404;
            body =
                json({{u"error"_s, u"model \"%1\" not found, try pulling it first"_s.arg(model)}});
        } else {
            if (!loaded.contains(model))
                loaded.append(model);
            body = json(
                {{u"model"_s, model},
                 {u"message"_s, QJsonObject{{u"role"_s, u"assistant"_s},
                                            {u"content"_s, answer(request.message(u"user"_s))}}},
                 {u"done"_s, true}});
        }
    } else if (path == "/v1/models") {
        body = json({{u"object"_s, u"list"_s}, {u"data"_s, modelList(installed, u"id"_s)}});
    } else if (path == "/v1/chat/completions") {
        if (!installed.contains(model)) {
            status = 404;
            body =
                json({{u"error"_s,
                       QJsonObject{{u"message"_s, u"The model `%1` does not exist."_s.arg(model)},
                                   {u"type"_s, u"NotFoundError"_s}}}});
        } else {
            const QJsonObject message{{u"role"_s, u"assistant"_s},
                                      {u"content"_s, answer(request.message(u"user"_s))}};
            body = json({{u"object"_s, u"chat.completion"_s},
                         {u"choices"_s, QJsonArray{QJsonObject{{u"index"_s, 0},
                                                               {u"message"_s, message},
                                                               {u"finish_reason"_s, u"stop"_s}}}}});
        }
    } else {
        status = 404;
        socket->write(whole(404, "text/plain", "404 page not found"));
        return;
    }
    const QByteArray response = whole(status, "application/json; charset=utf-8", body);
    if (route.misbehaviour == Misbehaviour::dropMidBody) {
        socket->write(response.left(response.size() - body.size() / 2));
        socket->flush();
        socket->abort();
        return;
    }
    socket->write(response);
}

void FakeModelServer::streamPull(QTcpSocket* socket, const Request& request, const Route& route) {
    const QString model = request.json().value(u"model"_s).toString();
    QList<QByteArray> lines{json({{u"status"_s, u"pulling manifest"_s}})};
    for (qsizetype i = 0; i < pullLayers.size(); ++i) {
        const Layer& layer = pullLayers[i];
        for (int step = 0; step <= pullStepsPerLayer; ++step) {
            lines.append(json({{u"status"_s, u"pulling "_s + layer.digest.mid(7, 12)},
                               {u"digest"_s, layer.digest},
                               {u"total"_s, layer.size},
                               {u"completed"_s, layer.size * step / pullStepsPerLayer}}));
        }
        if (i == 0 && !pullError.isEmpty()) {
            lines.append(json({{u"error"_s, pullError}}));
            break;
        }
    }
    const bool fails = !pullError.isEmpty();
    if (!fails) {
        for (const QString& status :
             {u"verifying sha256 digest"_s, u"writing manifest"_s, u"success"_s})
            lines.append(json({{u"status"_s, status}}));
    }
    if (route.misbehaviour == Misbehaviour::dropMidBody)
        lines.resize(lines.size() / 2);

    socket->write(head(200, "application/x-ndjson", "Transfer-Encoding: chunked"));
    // One line per tick, as a download reports itself over time.
    auto* timer = new QTimer(socket);
    auto remaining = std::make_shared<QList<QByteArray>>(lines);
    const bool drops = route.misbehaviour == Misbehaviour::dropMidBody;
    connect(timer, &QTimer::timeout, socket, [=, this] {
        if (!remaining->isEmpty()) {
            socket->write(chunk(remaining->takeFirst() + '\n'));
            return;
        }
        timer->stop();
        timer->deleteLater();
        if (drops) {
            socket->flush();
            socket->abort();
            return;
        }
        socket->write("0\r\n\r\n");
        if (!fails && !installed.contains(model))
            installed.append(model);
    });
    timer->start(pullInterval);
}
