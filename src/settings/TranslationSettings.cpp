#include "settings/TranslationSettings.h"

const QString TranslationSettings::defaultEndpoint = Settings::endpoint.fallback->toString();
const QString TranslationSettings::defaultModel = *Settings::model.fallback;

TranslationSettings::TranslationSettings(DefaultsStore& store, QObject* parent)
    : SettingsObject(store, parent) {
    // A hand-edited value that makes no sense falls back to the default rather than
    // pointing requests at nowhere.
    bind(Settings::endpoint, m_endpoint, &TranslationSettings::setEndpoint);
    bind(Settings::api, m_api, &TranslationSettings::setApi);
    bind(Settings::model, m_model, &TranslationSettings::setModel);
}

void TranslationSettings::setEndpoint(const QUrl& endpoint) {
    assign(Settings::endpoint, m_endpoint, endpoint);
}

void TranslationSettings::setApi(Api api) {
    assign(Settings::api, m_api, api);
}

void TranslationSettings::setModel(const QString& model) {
    assign(Settings::model, m_model, model);
}

std::optional<QUrl> TranslationSettings::parseEndpoint(const QString& text) {
    return Settings::ServerAddress::parse(text);
}
