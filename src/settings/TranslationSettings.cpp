#include "settings/TranslationSettings.h"

#include "settings/DefaultsStore.h"

using namespace Qt::StringLiterals;

namespace {

const QString kEndpoint = u"translation.endpoint"_s;
const QString kApi = u"translation.api"_s;
const QString kModel = u"translation.model"_s;

} // namespace

const QString TranslationSettings::defaultEndpoint = u"http://127.0.0.1:11434"_s;
// Small enough to download in minutes and answer in seconds on a laptop CPU, trained on a
// large share of Chinese text, and under a licence that lets anyone run it.
const QString TranslationSettings::defaultModel = u"qwen2.5:1.5b"_s;

TranslationSettings::TranslationSettings(DefaultsStore& store, QObject* parent)
    : QObject(parent), m_store(store) {
    m_store.registerDefaults(
        {{kEndpoint, defaultEndpoint}, {kApi, rawValue(Api::ollama)}, {kModel, defaultModel}});
    // A hand-edited value that makes no sense falls back to the default rather than
    // pointing requests at nowhere.
    m_endpoint =
        parseEndpoint(m_store.stringValue(kEndpoint)).value_or(*parseEndpoint(defaultEndpoint));
    m_api = apiFromRawValue(m_store.stringValue(kApi)).value_or(Api::ollama);
    m_model = parseModel(m_store.stringValue(kModel)).value_or(defaultModel);
}

void TranslationSettings::setEndpoint(const QUrl& endpoint) {
    m_endpoint = endpoint;
    m_store.setValue(kEndpoint, endpoint.toString());
    Q_EMIT changed(u"endpoint"_s);
}

void TranslationSettings::setApi(Api api) {
    m_api = api;
    m_store.setValue(kApi, rawValue(api));
    Q_EMIT changed(u"api"_s);
}

void TranslationSettings::setModel(const QString& model) {
    m_model = model;
    m_store.setValue(kModel, model);
    Q_EMIT changed(u"model"_s);
}

std::optional<QUrl> TranslationSettings::parseEndpoint(const QString& text) {
    QUrl url(text.trimmed(), QUrl::StrictMode);
    const QString scheme = url.scheme().toLower();
    if (!url.isValid() || (scheme != u"http"_s && scheme != u"https"_s) || url.host().isEmpty() ||
        !url.userInfo().isEmpty() || url.hasQuery() || url.hasFragment())
        return std::nullopt;
    QString path = url.path();
    while (path.endsWith(u'/'))
        path.chop(1);
    url.setPath(path);
    return url;
}

std::optional<QString> TranslationSettings::parseModel(const QString& text) {
    const QString name = text.trimmed();
    if (name.isEmpty())
        return std::nullopt;
    for (const QChar c : name) {
        if (c.isSpace() || c.category() == QChar::Other_Control)
            return std::nullopt;
    }
    return name;
}

QString TranslationSettings::rawValue(Api api) {
    return api == Api::openAi ? u"openai"_s : u"ollama"_s;
}

std::optional<TranslationSettings::Api> TranslationSettings::apiFromRawValue(const QString& raw) {
    if (raw == u"ollama"_s)
        return Api::ollama;
    if (raw == u"openai"_s)
        return Api::openAi;
    return std::nullopt;
}
