#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>
#include <functional>
#include <optional>

// The user's settings: a typed key-value store in the manner of the platform's user
// defaults. Values are bool, qint64 or double, QString, QByteArray (data), QVariantList and
// QVariantMap (nested of the same). Registered defaults live in memory only and answer for
// keys that hold no stored value. Every change is written to disk at once, atomically.
//
// On Linux the file is $XDG_CONFIG_HOME/Quillet/defaults.json (default ~/.config): a JSON
// object, byte data as {"$data": "<base64>"}. A file that cannot be read is kept aside under
// a time-stamped name before a fresh store is started, and the event log says so.
// Main thread only.
class DefaultsStore : public QObject {
    Q_OBJECT
public:
    // The program's store. `noticeSink` receives event-log contents (defaults to EventLog).
    static DefaultsStore& shared();
    // The default file location for this OS, or nothing without a home folder.
    static std::optional<QString> defaultFilePath();

    // Loads `filePath` now (a missing file is an empty store). `notice` receives a content
    // line for the event log when the file had to be set aside.
    explicit DefaultsStore(QString filePath,
                           std::function<void(const QString& content)> notice = {},
                           QObject* parent = nullptr);

    const QString& filePath() const { return m_filePath; }

    void registerDefaults(const QVariantMap& defaults);

    // The stored value, else the registered default, else an invalid QVariant.
    QVariant value(const QString& key) const;
    // Only what is stored (no registered default).
    std::optional<QVariant> storedValue(const QString& key) const;
    bool contains(const QString& key) const { return m_values.contains(key); }
    QStringList storedKeys() const;
    QVariantMap storedValues() const { return m_values; }

    // Typed reads with a fallback when the value is absent or of another type. A bool read
    // does not accept numbers or texts ("true" is a text, not a bool).
    bool boolValue(const QString& key, bool fallback = false) const;
    std::optional<bool> boolIfPresent(const QString& key) const;
    double doubleValue(const QString& key, double fallback = 0) const;
    QString stringValue(const QString& key, const QString& fallback = {}) const;
    std::optional<QString> stringIfPresent(const QString& key) const;
    // A list whose every member is a text, or nothing.
    std::optional<QStringList> stringListIfPresent(const QString& key) const;
    std::optional<QByteArray> dataIfPresent(const QString& key) const;

    // Stores and writes at once; an invalid QVariant removes the key.
    void setValue(const QString& key, const QVariant& value);
    void remove(const QString& key);
    // Several changes, one write.
    void setValues(const QVariantMap& values);

    // False when the last write to disk failed (the values stay in memory).
    bool lastWriteSucceeded() const { return m_lastWriteSucceeded; }

Q_SIGNALS:
    void valueChanged(const QString& key);

private:
    void load();
    void setAside();
    void save();

    QString m_filePath;
    std::function<void(const QString&)> m_notice;
    QVariantMap m_values;
    QVariantMap m_registered;
    bool m_lastWriteSucceeded = true;
    // Set when an unreadable file could be neither renamed nor copied: it is never replaced.
    bool m_keepsOffDisk = false;
};
