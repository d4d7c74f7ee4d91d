#pragma once

#include <QObject>
#include <QString>
#include <QUrl>
#include <optional>

class DefaultsStore;

// Where sentences are translated: a model server on this machine by default. Reads the store
// once when made and writes a key back whenever a property changes. Main thread only.
class TranslationSettings : public QObject {
    Q_OBJECT
public:
    enum class Api { ollama, openAi };

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
    static std::optional<QString> parseModel(const QString& text);
    static QString rawValue(Api api);
    static std::optional<Api> apiFromRawValue(const QString& raw);

Q_SIGNALS:
    // `property` names what changed: "endpoint", "api" or "model".
    void changed(const QString& property);

private:
    DefaultsStore& m_store;
    QUrl m_endpoint;
    Api m_api = Api::ollama;
    QString m_model;
};
