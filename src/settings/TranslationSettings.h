#pragma once

#include "settings/SettingsObject.h"

#include <QString>
#include <QUrl>
#include <optional>

// Where sentences are translated: a model server on this machine by default. Reads the store
// when made and writes a key back whenever a property changes; a value another process stores
// is taken in and announced like a change made here. Main thread only.
class TranslationSettings : public SettingsObject {
    Q_OBJECT
public:
    using Api = Settings::TranslationApi;

    static const QString defaultEndpoint;
    static const QString defaultModel;

    static TranslationSettings& shared();
    explicit TranslationSettings(DefaultsStore& store, QObject* parent = nullptr);

    const QUrl& endpoint() const { return m_endpoint; }
    Api api() const { return m_api; }
    const QString& model() const { return m_model; }

    void setEndpoint(const QUrl& endpoint);
    void setApi(Api api);
    void setModel(const QString& model);

    // An http or https address with a host; a trailing "/" is dropped.
    static std::optional<QUrl> parseEndpoint(const QString& text);

private:
    QUrl m_endpoint;
    Api m_api = Api::ollama;
    QString m_model;
};
