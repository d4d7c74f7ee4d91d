// libFuzzer target: arbitrary HTTP answers from a model server, sent over a real local
// connection to both protocols' calls. The first bytes choose the call, the status and where
// a streamed body is cut into chunks; the rest is the body.
#include "FuzzCheck.h"
#include "base/TimerSource.h"
#include "platform/linux/translation/OllamaProtocol.h"
#include "platform/linux/translation/OpenAiProtocol.h"

#include <QCoreApplication>
#include <QNetworkAccessManager>
#include <QTcpServer>
#include <QTcpSocket>
#include <cstdint>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// Answers every request on 127.0.0.1 with `reply` once the request has fully arrived, then
// closes the connection.
class ScriptedServer {
public:
    QByteArray reply;

    ScriptedServer() {
        require(m_server.listen(QHostAddress::LocalHost, 0), "the server listens");
        QObject::connect(&m_server, &QTcpServer::newConnection, &m_server, [this] {
            while (QTcpSocket* socket = m_server.nextPendingConnection())
                serve(socket);
        });
    }
    QUrl endpoint() const { return QUrl(u"http://127.0.0.1:%1"_s.arg(m_server.serverPort())); }

private:
    void serve(QTcpSocket* socket) {
        auto received = std::make_shared<QByteArray>();
        QObject::connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        QObject::connect(socket, &QTcpSocket::readyRead, socket, [this, socket, received] {
            received->append(socket->readAll());
            const qsizetype headerEnd = received->indexOf("\r\n\r\n");
            if (headerEnd < 0 || received->size() < headerEnd + 4 + bodyLength(*received))
                return;
            socket->write(reply);
            socket->disconnectFromHost();
        });
    }
    static qsizetype bodyLength(const QByteArray& request) {
        const qsizetype at = request.toLower().indexOf("content-length:");
        if (at < 0)
            return 0;
        const qsizetype end = request.indexOf("\r\n", at);
        return request.sliced(at + 15, end - at - 15).trimmed().toLongLong();
    }

    QTcpServer m_server;
};

QByteArray httpReply(int status, const QByteArray& body, int chunkSize) {
    QByteArray reply = "HTTP/1.1 " + QByteArray::number(status) +
                       " Fuzz\r\nContent-Type: application/json\r\nConnection: close\r\n";
    if (chunkSize == 0)
        return reply + "Content-Length: " + QByteArray::number(body.size()) + "\r\n\r\n" + body;
    reply += "Transfer-Encoding: chunked\r\n\r\n";
    for (qsizetype at = 0; at < body.size(); at += chunkSize) {
        const QByteArray chunk = body.mid(at, chunkSize);
        reply += QByteArray::number(chunk.size(), 16) + "\r\n" + chunk + "\r\n";
    }
    return reply + "0\r\n\r\n";
}

struct World {
    int argc = 1;
    char name[16] = "fuzz";
    char* argv[2] = {name, nullptr};
    QCoreApplication app{argc, argv};
    QNetworkAccessManager manager;
    ScriptedServer server;
    ModelServerProtocol::Limits limits{.quick = {.connect = 10s, .total = 10s},
                                       .chat = {.connect = 10s, .total = 10s},
                                       .pull = {.connect = 10s, .total = 10s, .stall = 10s}};
    OllamaProtocol ollama{manager, server.endpoint(), limits, TimerSource::system()};
    OpenAiProtocol openAi{manager, server.endpoint(), limits, TimerSource::system()};
};

World& world() {
    static World* instance = new World; // lives to the end; Qt tears nothing down for us
    return *instance;
}

bool successful(int status) {
    return status >= 200 && status < 300;
}

// An answer that arrived whole is the server's error (an error status, or an error line in a
// stream), the protocol's complaint about a 2xx body, or a model the server lacks.
template <typename Value>
void checkOutcome(const ServerOutcome<Value>& outcome, int status, bool mayLackModel,
                  bool streamed = false) {
    using Kind = ServerFailure::Kind;
    require(!std::holds_alternative<Cancelled>(outcome), "nothing cancelled the call");
    if (const auto* failure = std::get_if<ServerFailure>(&outcome)) {
        switch (failure->kind) {
        case Kind::serverError:
            require(!successful(status) || streamed, "a 2xx answer is no server error");
            break;
        case Kind::badAnswer:
            require(successful(status), "an error status is the server's error, not ours");
            break;
        case Kind::modelMissing:
            require(mayLackModel && status == 404 && !failure->detail.isEmpty(),
                    "only a 404 with a reason says the model is missing");
            break;
        default:
            require(false, "an answer that arrived is no transfer failure");
        }
        return;
    }
    require(successful(status), "an error status is never an answer");
}

void checkNames(const ServerOutcome<QStringList>& outcome, int status) {
    checkOutcome(outcome, status, false);
    if (const auto* names = std::get_if<QStringList>(&outcome))
        require(!names->contains(QString()), "no model without a name");
}

void checkPull(World& w, int status) {
    QList<double> reports;
    auto task = w.ollama.pull(u"m"_s, [&](double fraction) { reports.append(fraction); }, {});
    const ServerOutcome<ModelPulled> outcome = QCoro::waitFor(task);
    checkOutcome(outcome, status, false, /*streamed=*/true);
    for (qsizetype i = 0; i < reports.size(); ++i) {
        require(reports[i] >= 0 && reports[i] <= 1, "progress is a fraction");
        require(i == 0 || reports[i] > reports[i - 1], "progress only grows");
    }
    if (std::holds_alternative<ModelPulled>(outcome))
        require(!reports.isEmpty() && reports.back() == 1, "a finished pull shows all done");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 3)
        return 0;
    World& w = world();
    const int call = data[0] % 6;
    // Mostly success, so the bodies get read; otherwise any status a server might send.
    const int status = data[1] < 128 ? 200 : 200 + data[2] % 100 + (data[1] % 4) * 100;
    const bool streamed = call == 3;
    const int chunkSize = streamed ? 1 + data[2] % 64 : 0;
    const QByteArray body(reinterpret_cast<const char*>(data) + 3, qsizetype(size) - 3);
    w.server.reply = httpReply(status, body, chunkSize);

    const ModelServerProtocol::Chat chat{.model = u"m"_s, .instructions = u"i"_s, .text = u"t"_s};
    switch (call) {
    case 0: {
        auto task = w.ollama.listModels({});
        checkNames(QCoro::waitFor(task), status);
        break;
    }
    case 1: {
        auto task = w.ollama.isLoaded(u"m"_s, {});
        const std::optional<bool> loaded = QCoro::waitFor(task);
        require(!loaded || successful(status), "an error status tells nothing about loading");
        break;
    }
    case 2: {
        auto task = w.ollama.chat(chat, {});
        checkOutcome(QCoro::waitFor(task), status, true);
        break;
    }
    case 3:
        checkPull(w, status);
        break;
    case 4: {
        auto task = w.openAi.listModels({});
        checkNames(QCoro::waitFor(task), status);
        break;
    }
    default: {
        auto task = w.openAi.chat(chat, {});
        checkOutcome(QCoro::waitFor(task), status, true);
        break;
    }
    }
    return 0;
}
