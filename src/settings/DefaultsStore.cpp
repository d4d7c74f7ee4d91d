#include "settings/DefaultsStore.h"

#include "platform/PlatformPaths.h"
#include "platform/SafeFiles.h"
#include "settings/DefaultsJson.h"
#include "settings/EventLog.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

using namespace Qt::StringLiterals;

namespace {

bool occupied(const QString& path) {
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

// "defaults.json.unreadable-20240305-090701", with "-2", "-3"… when that name is taken.
QString unusedAsideName(const QString& filePath) {
    const QString base =
        filePath + u".unreadable-"_s + QDateTime::currentDateTime().toString(u"yyyyMMdd-HHmmss"_s);
    QString candidate = base;
    for (int n = 2; occupied(candidate); ++n)
        candidate = base + u'-' + QString::number(n);
    return candidate;
}

bool isNumber(const QVariant& value) {
    return value.typeId() == QMetaType::Double || value.typeId() == QMetaType::LongLong;
}

} // namespace

std::optional<QString> DefaultsStore::defaultFilePath() {
    const std::optional<QString> folder = PlatformPaths::configDirectory();
    if (!folder)
        return std::nullopt;
    return *folder + u"/defaults.json"_s;
}

DefaultsStore& DefaultsStore::shared() {
    static DefaultsStore store(defaultFilePath().value_or(QString()), [](const QString& content) {
        EventLog::shared().append(EventLog::Kind::error, content);
    });
    return store;
}

DefaultsStore::DefaultsStore(QString filePath, std::function<void(const QString&)> notice,
                             QObject* parent)
    : QObject(parent), m_filePath(std::move(filePath)), m_notice(std::move(notice)) {
    load();
}

void DefaultsStore::load() {
    if (m_filePath.isEmpty() || !occupied(m_filePath))
        return;
    QFile file(m_filePath);
    if (file.open(QIODevice::ReadOnly)) {
        if (std::optional<QVariantMap> values = DefaultsJson::parse(file.readAll())) {
            m_values = std::move(*values);
            return;
        }
    }
    file.close();
    setAside();
}

// The user's settings are never thrown away: what cannot be read is kept under another name
// (renamed, else copied) before a fresh store starts in its place.
void DefaultsStore::setAside() {
    const QString aside = unusedAsideName(m_filePath);
    QString content;
    if (QFile::rename(m_filePath, aside) || QFile::copy(m_filePath, aside)) {
        content = u"设置｜设置文件无法读取，已另存为 %1，已恢复默认设置"_s.arg(
            QFileInfo(aside).fileName());
    } else {
        m_keepsOffDisk = true;
        content = u"设置｜设置文件无法读取，也无法另存；已恢复默认设置，改动只保留到退出"_s;
    }
    if (m_notice)
        m_notice(content);
}

void DefaultsStore::save() {
    if (m_filePath.isEmpty())
        return;
    m_lastWriteSucceeded =
        !m_keepsOffDisk && !SafeFiles::writeAtomically(m_filePath, DefaultsJson::serialize(m_values));
}

void DefaultsStore::registerDefaults(const QVariantMap& defaults) {
    for (auto it = defaults.begin(); it != defaults.end(); ++it) {
        QVariant value = DefaultsJson::normalized(*it);
        if (value.isValid())
            m_registered.insert(it.key(), std::move(value));
    }
}

QVariant DefaultsStore::value(const QString& key) const {
    const auto stored = m_values.constFind(key);
    return stored != m_values.cend() ? *stored : m_registered.value(key);
}

std::optional<QVariant> DefaultsStore::storedValue(const QString& key) const {
    const auto stored = m_values.constFind(key);
    if (stored == m_values.cend())
        return std::nullopt;
    return *stored;
}

QStringList DefaultsStore::storedKeys() const {
    return m_values.keys();
}

bool DefaultsStore::boolValue(const QString& key, bool fallback) const {
    return boolIfPresent(key).value_or(fallback);
}

std::optional<bool> DefaultsStore::boolIfPresent(const QString& key) const {
    const QVariant v = value(key);
    if (v.typeId() != QMetaType::Bool)
        return std::nullopt;
    return v.toBool();
}

double DefaultsStore::doubleValue(const QString& key, double fallback) const {
    const QVariant v = value(key);
    return isNumber(v) ? v.toDouble() : fallback;
}

QString DefaultsStore::stringValue(const QString& key, const QString& fallback) const {
    return stringIfPresent(key).value_or(fallback);
}

std::optional<QString> DefaultsStore::stringIfPresent(const QString& key) const {
    const QVariant v = value(key);
    if (v.typeId() != QMetaType::QString)
        return std::nullopt;
    return v.toString();
}

std::optional<QStringList> DefaultsStore::stringListIfPresent(const QString& key) const {
    const QVariant v = value(key);
    if (v.typeId() != QMetaType::QVariantList)
        return std::nullopt;
    QStringList texts;
    for (const QVariant& member : v.toList()) {
        if (member.typeId() != QMetaType::QString)
            return std::nullopt;
        texts.append(member.toString());
    }
    return texts;
}

std::optional<QByteArray> DefaultsStore::dataIfPresent(const QString& key) const {
    const QVariant v = value(key);
    if (v.typeId() != QMetaType::QByteArray)
        return std::nullopt;
    return v.toByteArray();
}

void DefaultsStore::setValue(const QString& key, const QVariant& value) {
    setValues({{key, value}});
}

void DefaultsStore::remove(const QString& key) {
    setValues({{key, QVariant()}});
}

void DefaultsStore::setValues(const QVariantMap& values) {
    QStringList changed;
    for (auto it = values.begin(); it != values.end(); ++it) {
        if (!it->isValid()) {
            if (m_values.remove(it.key()) > 0)
                changed.append(it.key());
            continue;
        }
        QVariant value = DefaultsJson::normalized(*it);
        if (!value.isValid()) {
            qWarning("DefaultsStore: %s holds a type that cannot be stored", qPrintable(it.key()));
            continue;
        }
        const auto stored = m_values.constFind(it.key());
        if (stored != m_values.cend() && stored->typeId() == value.typeId() && *stored == value)
            continue;
        m_values.insert(it.key(), std::move(value));
        changed.append(it.key());
    }
    if (changed.isEmpty())
        return;
    save();
    for (const QString& key : std::as_const(changed))
        Q_EMIT valueChanged(key);
}
