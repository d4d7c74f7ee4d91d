#include "platform/linux/dictionaries/StarDictDictdShelf.h"

#include "dictionary/formats/DictdDatabase.h"
#include "dictionary/formats/StarDictDictionary.h"
#include "logs/EventLog.h"

#include <QDir>
#include <QFileInfo>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Deep enough for a folder per dictionary inside a folder per collection, and a guard
// against links that lead back up the tree.
constexpr int kDeepestFolder = 6;

std::vector<std::optional<FileStamp>> stampsOf(const std::vector<QByteArray>& parts) {
    std::vector<std::optional<FileStamp>> stamps;
    stamps.reserve(parts.size());
    for (const QByteArray& part : parts)
        stamps.push_back(FileStamp::of(part));
    return stamps;
}

QString versionOf(const std::vector<std::optional<FileStamp>>& stamps) {
    QString text;
    for (const auto& stamp : stamps)
        text += (stamp ? stamp->text() : u"-"_s) + u'|';
    return text;
}

// All of a dictionary's parts, present or not, so that one appearing or going away makes a
// new version too.
std::vector<QByteArray> partsOf(const StarDictDictionary::Files& files) {
    return {QFile::encodeName(files.info), QFile::encodeName(files.index),
            QFile::encodeName(files.text), QFile::encodeName(files.synonyms)};
}

std::vector<QByteArray> partsOf(const DictdDatabase::Files& files) {
    return {QFile::encodeName(files.index), QFile::encodeName(files.text)};
}

bool byPath(const QString& a, const QString& b) {
    const int folded = a.compare(b, Qt::CaseInsensitive);
    return folded != 0 ? folded < 0 : a < b;
}

void collectInfoFiles(const QString& folder, int depth, QSet<QString>& visited,
                      QStringList& found) {
    const QString canonical = QFileInfo(folder).canonicalFilePath();
    if (canonical.isEmpty() || visited.contains(canonical))
        return;
    visited.insert(canonical);
    const QDir dir(folder);
    // System entries too: a FIFO or a device under a dictionary's name is reported, not
    // passed over in silence.
    for (const QFileInfo& entry : dir.entryInfoList(QDir::Files | QDir::System | QDir::Dirs |
                                                    QDir::NoDotAndDotDot | QDir::Readable)) {
        if (entry.isDir()) {
            if (depth < kDeepestFolder)
                collectInfoFiles(entry.filePath(), depth + 1, visited, found);
        } else if (entry.fileName().endsWith(u".ifo"_s) && entry.fileName().size() > 4) {
            found.push_back(entry.filePath());
        }
    }
}

} // namespace

StarDictDictdShelf::StarDictDictdShelf(FolderSource folders, Reporter report)
    : m_folders(std::move(folders)), m_report(std::move(report)) {}

StarDictDictdShelf::~StarDictDictdShelf() = default;

StarDictDictdShelf::Folders StarDictDictdShelf::standardFolders() {
    Folders folders;
    const QString home = qEnvironmentVariable("HOME");
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.startsWith(u'/'))
        folders.starDict.push_back(dataHome + u"/stardict/dic"_s);
    else if (!home.isEmpty())
        folders.starDict.push_back(home + u"/.local/share/stardict/dic"_s);
    if (!home.isEmpty())
        folders.starDict.push_back(home + u"/.stardict/dic"_s);
    folders.starDict.push_back(u"/usr/share/stardict/dic"_s);
    folders.dictd.push_back(u"/usr/share/dictd"_s);
    return folders;
}

void StarDictDictdShelf::reportToEventLog(const QString& line) {
    EventLog::appendToShared(EventLog::Kind::error, line);
}

std::vector<StarDictDictdShelf::Found> StarDictDictdShelf::discover() const {
    const Folders folders = m_folders();
    std::vector<Found> found;
    QSet<QString> identifiers;
    const auto add = [&](Format format, const QString& path, const QString& stem) {
        const QString identifier =
            (format == Format::starDict ? u"stardict:"_s : u"dictd:"_s) + stem;
        if (identifiers.contains(identifier))
            return;
        identifiers.insert(identifier);
        found.push_back(Found{identifier, format, path, stem});
    };

    for (const QString& root : folders.starDict) {
        QSet<QString> visited;
        QStringList paths;
        collectInfoFiles(root, 0, visited, paths);
        std::sort(paths.begin(), paths.end(), [&root](const QString& a, const QString& b) {
            return byPath(a.mid(root.size()), b.mid(root.size()));
        });
        for (const QString& path : paths)
            add(Format::starDict, path, QFileInfo(path).fileName().chopped(4));
    }
    for (const QString& root : folders.dictd) {
        QStringList names =
            QDir(root).entryList({u"*.index"_s}, QDir::Files | QDir::System | QDir::Readable);
        std::sort(names.begin(), names.end(), byPath);
        for (const QString& name : names)
            if (name.size() > 6)
                add(Format::dictd, QDir(root).filePath(name), name.chopped(6));
    }
    return found;
}

void StarDictDictdShelf::reportOnce(const Found& found, const Shelved& version,
                                    const QString& reason, QStringList& reports) {
    const QString key = found.path + u'|' + versionOf(version.stamps);
    if (m_reported.contains(key))
        return;
    m_reported.insert(key);
    reports.push_back(u"系统词典无法读取，已跳过：%1（%2）"_s.arg(found.stem, reason));
}

InstalledDictionary* StarDictDictdShelf::shelve(const Found& found, Check check,
                                                QStringList& reports) {
    const auto known = m_opened.find(found.path);
    if (check == Check::quick && known != m_opened.end() &&
        stampsOf(known->second.parts) == known->second.stamps)
        return known->second.dictionary.get();

    StarDictDictionary::Files starDictFiles;
    DictdDatabase::Files dictdFiles;
    std::vector<QByteArray> parts;
    if (found.format == Format::starDict) {
        starDictFiles = StarDictDictionary::filesBeside(found.path);
        parts = partsOf(starDictFiles);
    } else {
        dictdFiles = DictdDatabase::filesBeside(found.path);
        parts = partsOf(dictdFiles);
    }
    std::vector<std::optional<FileStamp>> stamps = stampsOf(parts);
    if (!stamps.front()) { // gone
        m_opened.erase(found.path);
        return nullptr;
    }
    if (known != m_opened.end() && known->second.parts == parts && known->second.stamps == stamps)
        return known->second.dictionary.get();

    Shelved& shelved = m_opened[found.path];
    shelved.parts = std::move(parts);
    shelved.stamps = std::move(stamps);
    shelved.dictionary.reset();
    auto opened = [&]() -> OrDefect<std::unique_ptr<InstalledDictionary>> {
        if (found.format == Format::starDict) {
            auto dictionary = StarDictDictionary::open(starDictFiles);
            if (auto* defect = std::get_if<DictionaryDefect>(&dictionary))
                return *defect;
            return std::unique_ptr<InstalledDictionary>(
                std::get<std::unique_ptr<StarDictDictionary>>(std::move(dictionary)));
        }
        auto database = DictdDatabase::open(dictdFiles);
        if (auto* defect = std::get_if<DictionaryDefect>(&database))
            return *defect;
        return std::unique_ptr<InstalledDictionary>(
            std::get<std::unique_ptr<DictdDatabase>>(std::move(database)));
    }();
    if (const auto* defect = std::get_if<DictionaryDefect>(&opened)) {
        reportOnce(found, shelved, defect->reason, reports);
        return nullptr;
    }
    shelved.dictionary = std::get<std::unique_ptr<InstalledDictionary>>(std::move(opened));
    return shelved.dictionary.get();
}

QList<SystemDictionaryBridge::Handle> StarDictDictdShelf::relist(QStringList& reports) {
    const std::vector<Found> found = discover();
    QList<SystemDictionaryBridge::Handle> handles;
    QHash<QString, Found> listed;
    QSet<QString> paths;
    for (const Found& each : found) {
        listed.insert(each.identifier, each);
        paths.insert(each.path);
        if (const InstalledDictionary* dictionary = shelve(each, Check::full, reports))
            handles.push_back({each.identifier, dictionary->name(), dictionary->shortName(),
                               versionOf(m_opened[each.path].stamps)});
    }
    // Dictionaries no longer there are closed.
    std::erase_if(m_opened, [&paths](const auto& entry) { return !paths.contains(entry.first); });
    m_listed = std::move(listed);
    return handles;
}

QList<SystemDictionaryBridge::Handle> StarDictDictdShelf::dictionaries() {
    QStringList reports;
    QList<SystemDictionaryBridge::Handle> handles;
    {
        const std::lock_guard lock(m_mutex);
        handles = relist(reports);
    }
    for (const QString& line : reports)
        m_report(line);
    return handles;
}

std::optional<QStringList> StarDictDictdShelf::readLocked(const Found& listed, const QString& word,
                                                          QStringList& reports) {
    InstalledDictionary* dictionary = shelve(listed, Check::quick, reports);
    if (!dictionary)
        return std::nullopt;
    OrDefect<QStringList> texts = dictionary->definitions(word);
    if (const auto* defect = std::get_if<DictionaryDefect>(&texts)) {
        // Unusable: said once, and closed.
        Shelved& shelved = m_opened[listed.path];
        reportOnce(listed, shelved, defect->reason, reports);
        shelved.dictionary.reset();
        return std::nullopt;
    }
    return std::get<QStringList>(std::move(texts));
}

std::optional<QString> StarDictDictdShelf::definition(const QString& word,
                                                      const QString& identifier) {
    if (word.isEmpty())
        return std::nullopt;
    QStringList reports;
    std::optional<QString> answer;
    {
        const std::lock_guard lock(m_mutex);
        // A caller may hold an identifier from before this shelf listed anything.
        if (!m_listed.contains(identifier))
            relist(reports);
        const auto listed = m_listed.constFind(identifier);
        if (listed != m_listed.constEnd()) {
            if (const auto texts = readLocked(*listed, word, reports)) {
                const QString joined = texts->join(u"\n\n"_s).trimmed();
                if (!joined.isEmpty())
                    answer = joined;
            }
        }
    }
    for (const QString& line : reports)
        m_report(line);
    return answer;
}

void StarDictDictdShelf::prepareAll() {
    QStringList identifiers;
    {
        const std::lock_guard lock(m_mutex);
        identifiers = m_listed.keys();
    }
    // One dictionary at a time, so a lookup waits for one word list at most.
    for (const QString& identifier : identifiers) {
        QStringList reports;
        {
            const std::lock_guard lock(m_mutex);
            // An empty word reads the word lists and looks nothing up.
            if (const auto listed = m_listed.constFind(identifier); listed != m_listed.constEnd())
                readLocked(*listed, QString(), reports);
        }
        for (const QString& line : reports)
            m_report(line);
    }
}
