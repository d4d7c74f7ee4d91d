#pragma once

#include <QByteArray>
#include <QHash>
#include <QJsonObject>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTcpServer>
#include <QTcpSocket>
#include <chrono>
#include <functional>

// A model server on 127.0.0.1 that speaks the Ollama API (/api/tags, /api/ps, /api/chat and
// the chunked NDJSON stream of /api/pull) and the OpenAI-compatible API (/v1/models,
// /v1/chat/completions) over real HTTP/1.1 with keep-alive, answering from a script. Any
// path can be made to misbehave. Lives on the thread that calls listen().
class FakeModelServer : public QObject {
    Q_OBJECT
public:
    enum class Misbehaviour {
        none,
        hang,        // reads the request and never answers
        held,        // reads the request and answers when the test calls release()
        garbage,     // HTTP 200 whose body is not JSON
        notHttp,     // bytes that are not HTTP, then closes
        httpError,   // `errorStatus` with a JSON error body
        dropMidBody, // half the answer (or half the stream), then closes
        closeAtOnce, // closes as soon as the request is in
    };
    struct Route {
        Misbehaviour misbehaviour = Misbehaviour::none;
        int errorStatus = 500;
        std::chrono::milliseconds delay{0}; // before answering
    };
    struct Request {
        QByteArray method;
        QByteArray path;
        QByteArray body;
        QJsonObject json() const;
        // The content of the message with `role` in a chat request.
        QString message(const QString& role) const;
    };
    struct Layer {
        QString digest;
        qint64 size = 0;
    };

    explicit FakeModelServer(QObject* parent = nullptr);
    ~FakeModelServer() override;

    // Listens on a free port of 127.0.0.1.
    bool listen();
    quint16 port() const { return m_server.serverPort(); }
    QString endpoint() const;
    // An address on 127.0.0.1 on which nothing listens: no server at all.
    static QString closedEndpoint();

    // The script. Model names are compared as given.
    QStringList installed;
    QStringList loaded; // what /api/ps lists; a chat with a model loads it
    // The assistant's reply to a chat, from the user's message.
    std::function<QString(const QString& text)> answer = [](const QString&) {
        return QString::fromUtf8("你好，世界。");
    };
    QHash<QByteArray, Route> routes; // by path
    QList<Layer> pullLayers{{QStringLiteral("sha256:model"), 800'000},
                            {QStringLiteral("sha256:template"), 200'000}};
    int pullStepsPerLayer = 4;
    std::chrono::milliseconds pullInterval{2}; // between stream lines
    QString pullError;                         // sent after the first layer instead of going on

    // What happened.
    QList<Request> requests;
    int closedConnections() const { return m_closed; }
    QList<QByteArray> paths() const;
    // Whether a request for `path` has arrived.
    bool received(const QByteArrayView& path) const;

    // Answers every held request now, as its route says apart from the holding.
    void release();
    int heldCount() const { return int(m_held.size()); }

private:
    struct Connection;
    void accept();
    void readFrom(QTcpSocket* socket);
    void serve(QTcpSocket* socket, const Request& request);
    void answerNormally(QTcpSocket* socket, const Request& request, const Route& route);
    void streamPull(QTcpSocket* socket, const Request& request, const Route& route);

    struct Held {
        QPointer<QTcpSocket> socket;
        Request request;
    };

    QTcpServer m_server;
    QHash<QTcpSocket*, QByteArray> m_buffers;
    QList<Held> m_held;
    int m_closed = 0;
};
