#include "OllamaPullStream.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

using namespace Qt::StringLiterals;

void OllamaPullStream::feed(const QByteArray& chunk) {
    m_pending.append(chunk);
    qsizetype start = 0;
    for (qsizetype end = m_pending.indexOf('\n'); end >= 0; end = m_pending.indexOf('\n', start)) {
        readLine(m_pending.sliced(start, end - start));
        start = end + 1;
    }
    m_pending.remove(0, start);
    // Status lines are short; an endless one is not a status.
    if (m_pending.size() > 64 * 1024) {
        m_pending.clear();
        m_error = u"下载进度无法解析"_s;
    }
}

void OllamaPullStream::finish() {
    readLine(std::exchange(m_pending, {}));
}

void OllamaPullStream::readLine(const QByteArray& line) {
    if (line.trimmed().isEmpty())
        return;
    const QJsonDocument document = QJsonDocument::fromJson(line);
    if (!document.isObject()) {
        m_error = u"下载进度无法解析"_s;
        return;
    }
    const QJsonObject object = document.object();
    if (const QJsonValue error = object.value(u"error"_s); error.isString()) {
        m_error = error.toString();
        return;
    }
    if (object.value(u"status"_s).toString() == u"success"_s) {
        m_succeeded = true;
        m_fraction = 1;
        return;
    }
    const QString digest = object.value(u"digest"_s).toString();
    const double total = object.value(u"total"_s).toDouble();
    if (digest.isEmpty() || total <= 0)
        return;
    m_layers[digest] = {std::clamp(object.value(u"completed"_s).toDouble(), 0.0, total), total};
    double done = 0;
    double known = 0;
    for (const Layer& layer : std::as_const(m_layers)) {
        done += layer.completed;
        known += layer.total;
    }
    // The last step is the server's "success"; bytes alone never finish the preparation.
    m_fraction = std::max(m_fraction, std::min(done / known, 0.999));
}
