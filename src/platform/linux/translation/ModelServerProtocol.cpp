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
