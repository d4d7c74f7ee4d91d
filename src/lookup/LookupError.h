#pragma once

#include <QString>

// Why a lookup produced nothing to show. Its description is the panel's text.
class LookupError {
public:
    enum class Kind { notFound, message };

    static LookupError notFound(const QString& query) { return {Kind::notFound, query}; }
    static LookupError message(const QString& text) { return {Kind::message, text}; }
    // The two messages the engine uses.
    static LookupError translationFailed();
    static LookupError translationAssetsMissing();

    Kind kind() const { return m_kind; }
    // The query for notFound, the whole message otherwise.
    const QString& payload() const { return m_payload; }
    QString localizedDescription() const;

    bool operator==(const LookupError&) const = default;

private:
    LookupError(Kind kind, QString payload) : m_kind(kind), m_payload(std::move(payload)) {}

    Kind m_kind;
    QString m_payload;
};
