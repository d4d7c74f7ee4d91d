#include "notebook/Vocabulary.h"

#include "base/UnicodeText.h"
#include "filter/TextFilter.h"
#include "logs/EventLog.h"
#include "notebook/InlineGloss.h"
#include "notebook/VocabularyArchive.h"
#include "platform/PlatformPaths.h"
#include "platform/SafeFiles.h"
#include "settings/DefaultsJson.h"
#include "settings/DefaultsStore.h"
#include "settings/Preferences.h"

#include <QDir>
#include <QFileInfo>
#include <QSet>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString kStorageKey = u"vocabulary2"_s;
const QString kWordListKey = u"vocabulary"_s;
const QString kQueryHistoryKey = u"queryHistory"_s;

// "vocabulary-unreadable-2024-03-05T09-07-01Z.json": colons are not allowed in every file
// system; "-2", "-3"… keep a second copy in the same second from replacing the first.
QString unusedCopyPath(const QString& folder, const QDateTime& now) {
    const QString stamp = now.toString(Qt::ISODate).replace(u':', u'-');
    return SafeFiles::unusedPath(folder + u"/vocabulary-unreadable-"_s + stamp, u".json"_s);
}

Vocabulary::Entry legacyEntry(const QString& word, const VocabularyArchive::LegacyItem& item) {
    return {.kind = Vocabulary::Kind::word,
            .text = word,
            .firstDate = item.firstDate,
            .lastDate = item.lastDate,
            .count = item.count,
            .starred = true};
}

} // namespace

Vocabulary::Vocabulary(Dependencies dependencies, QObject* parent)
    : QObject(parent), m_deps(std::move(dependencies)),
      m_encoder(std::make_unique<VocabularyArchive::ListEncoder>()) {
    load();
}

Vocabulary::~Vocabulary() = default;

QList<Vocabulary::Entry> Vocabulary::starred() const {
    QList<Entry> result;
    std::copy_if(m_entries.cbegin(), m_entries.cend(), std::back_inserter(result),
                 [](const Entry& e) { return e.starred; });
    return result;
}

qsizetype Vocabulary::starredCount() const {
    return std::count_if(m_entries.cbegin(), m_entries.cend(),
                         [](const Entry& e) { return e.starred; });
}

bool Vocabulary::isNearlyFull() const {
    return m_entries.size() - starredCount() >= nearlyFullAt;
}

bool Vocabulary::ownsStoreKey(const QString& key) {
    return key == kStorageKey || key == kWordListKey || key == kQueryHistoryKey ||
           key.startsWith(kStorageKey + u".unreadable"_s);
}

QString Vocabulary::normalize(const QString& text, Kind kind) {
    const QString trimmed = UnicodeText::trimmed(text);
    return kind == Kind::word ? UnicodeText::lowercased(trimmed) : trimmed;
}

bool Vocabulary::isRecordableWord(const QString& text) {
    if (text.isEmpty() || TextFilter::kind(text) != QueryKind::word)
        return false;
    bool recordable = true;
    UnicodeText::forEachCharacter(text, [&recordable](QStringView character) {
        recordable =
            UnicodeText::isAsciiLetter(character) || character == u"-"_s || character == u"'"_s;
        return recordable;
    });
    return recordable;
}

qsizetype Vocabulary::indexOf(const QString& text, Kind kind) const {
    const auto it = std::find_if(m_entries.cbegin(), m_entries.cend(),
                                 [&](const Entry& e) { return e.kind == kind && e.text == text; });
    return it == m_entries.cend() ? -1 : it - m_entries.cbegin();
}

std::optional<Vocabulary::Entry> Vocabulary::entry(const QString& text, Kind kind) const {
    const qsizetype index = indexOf(normalize(text, kind), kind);
    return index < 0 ? std::nullopt : std::optional(m_entries[index]);
}

void Vocabulary::update(const std::function<bool()>& change) {
    bool changed = false;
    m_deps.store.transaction([&] {
        adoptStored();
        const bool noted = keepsUnsaved();
        changed = change();
        if (changed || noted)
            save();
    });
    if (changed)
        Q_EMIT entriesChanged();
}

void Vocabulary::noteLookup(const Lookup& lookup) {
    const qsizetype index = indexOf(lookup.word, Kind::word);
    if (index >= 0) {
        Entry entry = m_entries.takeAt(index);
        entry.lastDate = lookup.date;
        ++entry.count;
        m_entries.prepend(std::move(entry));
    } else {
        m_entries.prepend(Entry{.kind = Kind::word,
                                .text = lookup.word,
                                .firstDate = lookup.date,
                                .lastDate = lookup.date,
                                .count = 1});
    }
}

void Vocabulary::record(const QString& text) {
    const QString word = normalize(text, Kind::word);
    if (!isRecordableWord(word))
        return;
    if (!m_deps.store.writesInBackground()) {
        update([&] {
            // Asked inside the transaction: a command may have switched recording off just now.
            if (!m_deps.recordingEnabled())
                return false;
            noteLookup({word, m_deps.now()});
            evictIfNeeded();
            return true;
        });
        return;
    }
    // Asked again when the lookup is saved.
    if (!m_deps.recordingEnabled())
        return;
    m_unsaved.append({word, m_deps.now()});
    noteLookup(m_unsaved.constLast());
    evictIfNeeded();
    Q_EMIT entriesChanged();
    // Lookups noted while a write is under way share the next one (see load()).
    if (!m_deps.store.isWriting())
        flush();
}

bool Vocabulary::keepsUnsaved() {
    if (m_unsaved.isEmpty())
        return false;
    const bool recording = m_deps.recordingEnabled();
    m_unsaved.clear();
    if (!recording)
        adopt(m_deps.store.storedValue(kStorageKey).value_or(QVariant()));
    return recording;
}

void Vocabulary::flush() {
    if (!m_unsaved.isEmpty())
        update([] { return false; });
}

// A newly starred item goes to the top like a fresh lookup, with a count of 0 since it was
// never looked up; unstarring such an item removes it, as nothing else would keep it.
bool Vocabulary::toggle(const QString& normalized, Kind kind,
                        const std::optional<QString>& translation,
                        const std::optional<Source>& source) {
    const QDateTime now = m_deps.now();
    const qsizetype index = indexOf(normalized, kind);
    if (index < 0) {
        m_entries.prepend(Entry{.kind = kind,
                                .text = normalized,
                                .translation = translation,
                                .firstDate = now,
                                .lastDate = now,
                                .starred = true,
                                .source = source});
        return true;
    }
    Entry& entry = m_entries[index];
    entry.starred = !entry.starred;
    entry.lastDate = now;
    if (!entry.translation)
        entry.translation = translation;
    if (!entry.source)
        entry.source = source;
    const bool starred = entry.starred;
    if (!starred) {
        if (entry.count == 0)
            m_entries.removeAt(index);
        evictIfNeeded();
    }
    return starred;
}

bool Vocabulary::toggleStar(const QString& text, Kind kind,
                            const std::optional<QString>& translation,
                            const std::optional<Source>& source) {
    const QString normalized = normalize(text, kind);
    if (normalized.isEmpty())
        return false;
    bool starred = true;
    update([&] {
        starred = toggle(normalized, kind, translation, source);
        return true;
    });
    return starred;
}

bool Vocabulary::setStarred(const QString& text, Kind kind, bool starred,
                            const std::optional<QString>& translation,
                            const std::optional<Source>& source) {
    const QString normalized = normalize(text, kind);
    if (normalized.isEmpty())
        return false;
    bool changed = false;
    update([&] {
        const qsizetype index = indexOf(normalized, kind);
        changed = (index >= 0 && m_entries[index].starred) != starred;
        if (changed)
            toggle(normalized, kind, translation, source);
        return changed;
    });
    return changed;
}

bool Vocabulary::remove(const Entry& entry) {
    bool removed = false;
    update([&] {
        const qsizetype index = indexOf(entry.text, entry.kind);
        removed = index >= 0;
        if (removed)
            m_entries.removeAt(index);
        return removed;
    });
    return removed;
}

void Vocabulary::removeHistory(const QString& logLine) {
    update([this] {
        m_entries.removeIf([](const Entry& e) { return !e.starred; });
        return true;
    });
    m_deps.log(logLine);
}

void Vocabulary::clearRecords() {
    removeHistory(u"查询记录已清空（收藏保留）"_s);
}

void Vocabulary::purgeIfDisabled() {
    if (!m_deps.recordingEnabled())
        removeHistory(u"已关闭自动记录并清除查询记录（收藏保留）"_s);
}

void Vocabulary::evictIfNeeded() {
    if (const qsizetype removed = evictOldest(); removed > 0)
        m_deps.log(u"查询记录已满，移除最旧的 "_s + QString::number(removed) +
                   u" 条（收藏不受影响）"_s);
}

qsizetype Vocabulary::evictOldest() {
    qsizetype excess = m_entries.size() - starredCount() - historyLimit;
    if (excess <= 0)
        return 0;
    const qsizetype removed = excess;
    for (qsizetype i = m_entries.size() - 1; i >= 0 && excess > 0; --i) {
        if (!m_entries[i].starred) {
            m_entries.removeAt(i);
            --excess;
        }
    }
    return removed;
}

void Vocabulary::save() {
    const QByteArray data = m_encoder->encode(m_entries);
    m_adopted = data;
    m_deps.store.setValue(kStorageKey, data);
}

void Vocabulary::adoptStored() {
    const QVariant stored = m_deps.store.storedValue(kStorageKey).value_or(QVariant());
    if (stored.typeId() == m_adopted.typeId() && stored == m_adopted)
        return;
    adopt(stored);
}

void Vocabulary::adopt(const QVariant& stored) {
    m_adopted = stored;
    m_entries.clear();
    if (stored.typeId() == QMetaType::QByteArray) {
        const QByteArray data = stored.toByteArray();
        if (!data.isEmpty()) {
            VocabularyArchive::Decoded decoded = VocabularyArchive::decode(data);
            m_entries = std::move(decoded.entries);
            if (!decoded.intact) {
                preserveUnreadable(stored, data, decoded.total);
                save();
            }
        }
    } else if (stored.isValid()) {
        // Not byte data at all (damaged base64, a hand-edited value): nothing can be read,
        // and the value as stored is what is kept.
        preserveUnreadable(stored, DefaultsJson::serialize({{kStorageKey, stored}}), 0);
        save();
    }
    // Lookups noted since the last save count on the list as it is now; their evictions
    // were reported when they were noted.
    for (const Lookup& lookup : std::as_const(m_unsaved)) {
        noteLookup(lookup);
        evictOldest();
    }
    Q_EMIT entriesChanged();
}

void Vocabulary::load() {
    connect(&m_deps.store, &DefaultsStore::valueChanged, this, [this](const QString& key) {
        if (key == kStorageKey)
            adoptStored();
    });
    connect(&m_deps.store, &DefaultsStore::writeFinished, this, &Vocabulary::flush);
    m_deps.store.transaction([this] {
        adoptStored();
        if (const std::optional<QByteArray> data = m_deps.store.dataIfPresent(kWordListKey)) {
            if (const auto items = VocabularyArchive::decodeWordList(*data)) {
                QList<Entry> words;
                for (const VocabularyArchive::LegacyItem& item : *items) {
                    if (const QString word = normalize(item.term, Kind::word); !word.isEmpty())
                        words.append(legacyEntry(word, item));
                }
                adoptLegacy(words, kWordListKey);
                m_deps.log(u"已把 "_s + QString::number(words.size()) + u" 个生词转为收藏"_s);
            }
        }
        if (const std::optional<QByteArray> data = m_deps.store.dataIfPresent(kQueryHistoryKey)) {
            if (const auto items = VocabularyArchive::decodeQueryHistory(*data)) {
                QList<Entry> words;
                QSet<QString> seen;
                for (const VocabularyArchive::LegacyItem& item : *items) {
                    const QString word = normalize(item.term, Kind::word);
                    if (isRecordableWord(word) && !seen.contains(word)) {
                        seen.insert(word);
                        words.append(legacyEntry(word, item));
                    }
                }
                adoptLegacy(words, kQueryHistoryKey);
                m_deps.log(u"已把 "_s + QString::number(words.size()) + u" 条历史记录转为收藏"_s);
            }
        }
    });
}

// Older words go after the current list (they are older than it); a word already in the
// list has that entry starred instead. One write saves the list and drops the old key, so
// each conversion happens once.
void Vocabulary::adoptLegacy(const QList<Entry>& words, const QString& oldKey) {
    for (const Entry& word : words) {
        if (const qsizetype index = indexOf(word.text, Kind::word); index >= 0)
            m_entries[index].starred = true;
        else
            m_entries.append(word);
    }
    save();
    m_deps.store.remove(oldKey);
    Q_EMIT entriesChanged();
}

// The stored value is copied before anything is written over it: into the store next to
// the list (never over an earlier copy that differs), and into a file in the notebook's
// folder when there is one.
void Vocabulary::preserveUnreadable(const QVariant& stored, const QByteArray& raw,
                                    qsizetype total) {
    QString key = kStorageKey + u".unreadable"_s;
    for (int n = 2; m_deps.store.storedValue(key).value_or(stored) != stored; ++n)
        key = kStorageKey + u".unreadable."_s + QString::number(n);
    m_deps.store.setValue(key, stored);
    QString copy = key;
    if (m_deps.folder) {
        const QString path = unusedCopyPath(*m_deps.folder, m_deps.now());
        if (!SafeFiles::writeAtomically(path, raw))
            copy = QDir::toNativeSeparators(path);
    }
    const qsizetype read = m_entries.size();
    const QString what = read == 0
                             ? u"存档整份读不出来"_s
                             : QString::number(total) + u" 条里只读出 "_s + QString::number(read);
    m_deps.log(what + u"，原数据已另存到 "_s + copy);
}
