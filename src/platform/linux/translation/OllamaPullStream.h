#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <optional>

// Reads the newline-delimited JSON that /api/pull streams: one status object per line, with
// byte counts per layer while layers download, "success" at the end, or an error.
class OllamaPullStream {
public:
    // Takes the next piece of the body; pieces may split lines anywhere.
    void feed(const QByteArray& chunk);
    // Reads a last line that came without a newline.
    void finish();

    // Bytes done over bytes known across every layer seen so far. Layers announce themselves
    // one after another, so the raw figure can dip; this one never does.
    double fraction() const { return m_fraction; }
    bool succeeded() const { return m_succeeded; }
    const std::optional<QString>& error() const { return m_error; }

private:
    void readLine(const QByteArray& line);

    QByteArray m_pending;
    struct Layer {
        double completed = 0;
        double total = 0;
    };
    QHash<QString, Layer> m_layers;
    double m_fraction = 0;
    bool m_succeeded = false;
    std::optional<QString> m_error;
};
