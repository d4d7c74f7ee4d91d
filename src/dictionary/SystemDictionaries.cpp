#include "dictionary/SystemDictionaries.h"

#include "base/UnicodeText.h"
#include "dictionary/DictionaryLookup.h"
#include "logs/EventLog.h"

#include <QHash>
#include <QSet>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace SystemDictionaries {
namespace {

const QString kAppleDictionary = u"com.apple.dictionary.AppleDictionary"_s;
const QString kProbeWord = u"water"_s;
// Longer names are cut for the tab: this many characters, then "…".
constexpr qsizetype kTabNameLimit = 8;
constexpr qsizetype kTabNameKept = 7;

const QSet<QString>& knownBilingual() {
    static const QSet<QString> identifiers{
        u"com.apple.dictionary.zh_CN-en.OCD"_s,
        u"com.apple.dictionary.zh_TW-en.DrEye"_s,
        u"com.apple.dictionary.zh_HK-en.idioms.cp"_s,
    };
    return identifiers;
}

const QHash<QString, QString>& tabNames() {
    static const QHash<QString, QString> names{
        {u"com.apple.dictionary.zh_CN-en.OCD"_s, u"牛津中英"_s},
        {u"com.apple.dictionary.zh_TW-en.DrEye"_s, u"译点通"_s},
        {u"com.apple.dictionary.zh_HK-en.idioms.cp"_s, u"汉英成语"_s},
        {u"com.apple.dictionary.OAWT"_s, u"同义词"_s},
        {u"com.apple.dictionary.OTE"_s, u"同义词"_s},
        {u"com.apple.dictionary.NOAD"_s, u"新牛津"_s},
        {u"com.apple.dictionary.ODE"_s, u"牛津英语"_s},
        {u"com.apple.dictionary.AppleDictionary"_s, u"Apple"_s},
        {u"com.apple.dictionary.Wikipedia"_s, u"维基"_s},
        {u"com.apple.dictionary.zh_HK.common"_s, u"商务新词典"_s},
        {u"com.apple.dictionary.zh_CN.SDCC"_s, u"现代汉语"_s},
        {u"com.apple.dictionary.yue-en.oup"_s, u"粤英"_s},
        {u"com.apple.dictionary.yue-en.cp"_s, u"粤英"_s},
        // Dictionaries Linux distributions package, whose own names are long or English.
        {u"dictd:gcide"_s, u"GCIDE"_s},
        {u"dictd:wn"_s, u"WordNet"_s},
        {u"dictd:moby-thesaurus"_s, u"同义词"_s},
        {u"dictd:foldoc"_s, u"FOLDOC"_s},
        {u"dictd:jargon"_s, u"Jargon"_s},
        {u"stardict:langdao-ec-gb"_s, u"朗道英汉"_s},
        {u"stardict:langdao-ce-gb"_s, u"朗道汉英"_s},
        {u"stardict:xdict-ec-gb"_s, u"XDICT英汉"_s},
        {u"stardict:xdict-ce-gb"_s, u"XDICT汉英"_s},
    };
    return names;
}

const QHash<QString, QString>& displayNames() {
    static const QHash<QString, QString> names{
        {u"bundled"_s, u"简明英汉"_s},
        {u"com.apple.dictionary.zh_CN-en.OCD"_s, u"牛津简体中文–英语"_s},
        {u"com.apple.dictionary.zh_TW-en.DrEye"_s, u"译点通英汉/汉英"_s},
        {u"com.apple.dictionary.zh_HK-en.idioms.cp"_s, u"汉英/英汉习语"_s},
        {u"com.apple.dictionary.OAWT"_s, u"牛津同义词词典"_s},
        {u"com.apple.dictionary.NOAD"_s, u"新牛津英语词典"_s},
        {u"com.apple.dictionary.ODE"_s, u"牛津英语词典"_s},
        {u"com.apple.dictionary.AppleDictionary"_s, u"Apple 词典"_s},
        {u"com.apple.dictionary.zh_HK.common"_s, u"粤语/汉语词典"_s},
        {u"com.apple.dictionary.zh_CN.SDCC"_s, u"现代汉语规范词典"_s},
        {u"com.apple.dictionary.zh_TW.TW"_s, u"教育部重编国语辞典"_s},
        {u"dictd:gcide"_s, u"GCIDE 英语词典"_s},
        {u"dictd:wn"_s, u"WordNet 英语词典"_s},
        {u"dictd:moby-thesaurus"_s, u"Moby 同义词词典"_s},
        {u"dictd:foldoc"_s, u"FOLDOC 计算机词典"_s},
        {u"dictd:jargon"_s, u"Jargon 黑话词典"_s},
        {u"stardict:langdao-ec-gb"_s, u"朗道英汉字典"_s},
        {u"stardict:langdao-ce-gb"_s, u"朗道汉英字典"_s},
        {u"stardict:xdict-ec-gb"_s, u"XDICT 英汉辞典"_s},
        {u"stardict:xdict-ce-gb"_s, u"XDICT 汉英辞典"_s},
    };
    return names;
}

std::optional<SystemDictionaryBridge::Handle> activeHandle(const QString& identifier) {
    for (const SystemDictionaryBridge::Handle& handle :
         SystemDictionaryBridge::activeDictionaries()) {
        if (handle.identifier == identifier)
            return handle;
    }
    return std::nullopt;
}

} // namespace

QStringList activeIdentifiers() {
    QStringList identifiers;
    for (const SystemDictionaryBridge::Handle& handle :
         SystemDictionaryBridge::activeDictionaries())
        identifiers.append(handle.identifier);
    return identifiers;
}

bool givesChineseGloss(const QString& identifier) {
    if (knownBilingual().contains(identifier))
        return true;
    if (identifier == kAppleDictionary)
        return false;
    const std::optional<SystemDictionaryBridge::Handle> handle = activeHandle(identifier);
    return handle && givesChineseGloss(*handle);
}

bool givesChineseGloss(const SystemDictionaryBridge::Handle& handle) {
    if (knownBilingual().contains(handle.identifier))
        return true;
    if (handle.identifier == kAppleDictionary)
        return false;
    const std::optional<QString> text = SystemDictionaryBridge::rawDefinition(kProbeWord, handle);
    if (!text)
        return false;
    // An entry of the Chinese-to-English direction says nothing about English words.
    const QList<DictionaryEntry> entries = DictionaryLookup::parse(*text, kProbeWord);
    return std::any_of(entries.begin(), entries.end(), [](const DictionaryEntry& entry) {
        return entry.holdsChineseGloss() && entry.hasEnglishHeadword();
    });
}

QString tabName(const QString& identifier, const QString& fullName) {
    if (const auto known = tabNames().constFind(identifier); known != tabNames().constEnd())
        return *known;
    const QString name = UnicodeText::trimmedOfBlanks(fullName).toString();
    if (UnicodeText::characterCount(name) <= kTabNameLimit)
        return name;
    return UnicodeText::leadingCharacters(name, kTabNameKept).toString() + u"…"_s;
}

QString displayName(const QString& identifier,
                    const QList<SystemDictionaryBridge::Handle>& active) {
    if (const auto known = displayNames().constFind(identifier); known != displayNames().constEnd())
        return *known;
    for (const SystemDictionaryBridge::Handle& handle : active) {
        if (handle.identifier == identifier)
            return handle.name;
    }
    QString name = identifier;
    name.remove(u"com.apple.dictionary."_s);
    name.replace(u".wikipediadictionary"_s, u"维基百科"_s);
    // Linux identifiers name the file the dictionary came from.
    for (const QString& prefix : {u"stardict:"_s, u"dictd:"_s}) {
        if (name.startsWith(prefix))
            return name.sliced(prefix.size());
    }
    return name;
}

QString displayName(const QString& identifier) {
    // Only a name the tables lack needs the installed dictionaries read.
    if (const auto known = displayNames().constFind(identifier); known != displayNames().constEnd())
        return *known;
    return displayName(identifier, SystemDictionaryBridge::activeDictionaries());
}

} // namespace SystemDictionaries
