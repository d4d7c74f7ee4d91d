#include "core/DiagnosticsExport.h"

#include "core/TarGzArchive.h"
#include "dictionary/DictionaryListing.h"
#include "logs/DiagnosticLog.h"
#include "notebook/Vocabulary.h"
#include "platform/PlatformPaths.h"
#include "platform/SafeFiles.h"
#include "settings/DefaultsJson.h"
#include "settings/DefaultsStore.h"
#include "settings/SettingTable.h"

#include <QSet>

using namespace Qt::StringLiterals;

namespace DiagnosticsExport {
namespace {

QByteArray lines(const QStringList& list) {
    return (list.join(u'\n') + u'\n').toUtf8();
}

QByteArray environment(const QStringList& capabilities, const QStringList& notes) {
    const DiagnosticLog::Environment now =
        DiagnosticLog::Environment::current(capabilities.join(u"；"_s));
    return lines(QStringList{now.oneLine, QString(), u"版本："_s + now.appVersion,
                             u"系统："_s + now.displayVersion, u"内核："_s + now.systemVersion,
                             u"区域："_s + now.locale, u"硬件："_s + now.hardwareModel,
                             u"权限："_s + now.permissions} +
                 notes);
}

QString describe(const DictionaryListing::Row& row) {
    QString text = u"%1（%2）"_s.arg(row.displayName, row.identifier);
    if (!row.installed)
        text += u" · 未安装"_s;
    else if (row.chineseGloss)
        text += u" · 中文释义"_s;
    return text;
}

QByteArray dictionaries(const Sources& sources) {
    const DictionaryListing listing =
        DictionaryListing::of(sources.dictionaries, sources.removedDictionaries);
    QStringList text{u"查词顺序："_s};
    for (qsizetype i = 0; i < listing.order.size(); ++i)
        text.append(u"%1. "_s.arg(i + 1) + describe(listing.order[i]));
    text.append(u"已移除："_s);
    for (const DictionaryListing::Row& row : listing.removed)
        text.append(u"- "_s + describe(row));
    if (listing.removed.isEmpty())
        text.append(u"（无）"_s);
    if (!listing.readsEachDictionary)
        text.append(u"当前系统仅支持显示排在最前的词典。"_s);
    return lines(text);
}

// Each diagnostic log file there is; one that cannot be read is named in `notes`.
void addLogs(TarGzArchive& archive, const QString& folder, QStringList& notes) {
    DiagnosticLog::flush();
    const std::optional<QString> directory = DiagnosticLog::directory();
    if (!directory)
        return;
    for (const QString& name :
         {DiagnosticLog::currentFileName(), DiagnosticLog::previousFileName()}) {
        // A line may overshoot the rotation size; twice that is more than a log ever holds.
        const auto read =
            SafeFiles::readRegularFile(*directory + u'/' + name, 2 * DiagnosticLog::rotationBytes);
        if (const auto* bytes = std::get_if<QByteArray>(&read))
            archive.addFile(folder + u"/logs/"_s + name, *bytes);
        else if (const auto& failure = std::get<SafeFiles::Failure>(read);
                 failure.kind != SafeFiles::Failure::Kind::missing)
            notes.append(u"无法读取 %1：%2"_s.arg(name, failure.reason));
    }
}

} // namespace

QString baseName(const QDateTime& time) {
    return u"Quillet-诊断-"_s + time.toString(u"yyyyMMdd-HHmmss"_s);
}

QByteArray exportedSettings(const DefaultsStore& store) {
    QSet<QString> declared;
    for (const Settings::Entry& entry : Settings::entries())
        declared.insert(entry.key);
    const QString endpoint = Settings::endpoint.key.toString();
    QVariantMap kept;
    QVariantList withheld;
    const QVariantMap values = store.storedValues();
    for (auto it = values.cbegin(); it != values.cend(); ++it) {
        const QString& key = it.key();
        // The notebook is the record of what was looked up.
        if (Vocabulary::ownsStoreKey(key))
            continue;
        const QMetaType::Type type = static_cast<QMetaType::Type>(it->typeId());
        const bool scalar =
            type == QMetaType::Bool || type == QMetaType::LongLong || type == QMetaType::Double;
        // Only an address the settings accept: a person's edit might carry a password.
        const bool usable =
            key != endpoint || Settings::ServerAddress::read(store, key).has_value();
        // Text, lists and data under keys the program does not know (an older version's,
        // another program's) might hold anything; their names say enough.
        if (scalar || (declared.contains(key) && usable))
            kept.insert(key, *it);
        else
            withheld.append(key);
    }
    QVariantMap document{{u"settings"_s, kept}};
    if (!withheld.isEmpty())
        document.insert(u"withheld"_s, withheld);
    return DefaultsJson::serialize(document);
}

Outcome write(const Sources& sources, const QString& folder, const QDateTime& now) {
    const QString target =
        folder.isEmpty() ? PlatformPaths::downloadDirectory().value_or(QString()) : folder;
    if (target.isEmpty())
        return Failure{u"无法导出诊断信息：找不到可以保存的文件夹。"_s};
    const QString name = baseName(now);
    TarGzArchive archive(now);
    archive.addFolder(name);
    QStringList notes;
    addLogs(archive, name, notes);
    archive.addFile(name + u"/environment.txt"_s, environment(sources.capabilities, notes));
    archive.addFile(name + u"/settings.json"_s, exportedSettings(sources.store));
    archive.addFile(name + u"/dictionaries.txt"_s, dictionaries(sources));
    archive.addFile(name + u"/capabilities.txt"_s,
                    lines(sources.capabilities.isEmpty() ? QStringList{u"（未提供）"_s}
                                                         : sources.capabilities));
    const std::optional<QByteArray> bytes = archive.compressed();
    if (!bytes)
        return Failure{u"无法导出诊断信息：压缩失败。"_s};
    const QString path = SafeFiles::unusedPath(target + u'/' + name, u".tar.gz"_s);
    if (const std::optional<SafeFiles::Failure> failure = SafeFiles::writeAtomically(path, *bytes))
        return Failure{u"无法导出诊断信息：%1（%2）"_s.arg(failure->reason, target)};
    return Exported{path};
}

} // namespace DiagnosticsExport
