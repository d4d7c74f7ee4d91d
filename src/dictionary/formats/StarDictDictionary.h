#pragma once

#include "dictionary/formats/DictZipFile.h"
#include "dictionary/formats/InstalledDictionary.h"
#include "dictionary/formats/StarDictIndex.h"
#include "dictionary/formats/StarDictInfo.h"

#include <QByteArray>
#include <memory>
#include <optional>

// A StarDict dictionary: <stem>.ifo describes it, <stem>.idx (or .idx.gz) lists the sorted
// headwords with where their entries lie in <stem>.dict (or .dict.dz), and an optional
// <stem>.syn lists further words that lead to those entries. Opening reads only the
// description and the headers; the word lists are read into memory and scanned at the first
// lookup, which is also when an index that does not fit the description or the text is
// found out.
class StarDictDictionary final : public InstalledDictionary {
public:
    // The files a dictionary is made of; a part that is not there is left empty. Where both
    // forms are present, the .idx wins over the .idx.gz and the .dict.dz over the .dict.
    struct Files {
        QString info;
        QString index;
        QString text;
        QString synonyms;
    };
    static Files filesBeside(const QString& infoPath);

    static OrDefect<std::unique_ptr<StarDictDictionary>> open(const Files& files);

    QString name() const override;
    QString shortName() const override { return {}; }
    OrDefect<QStringList> definitions(const QString& word) override;

    // The plain text of one entry's data, given the dictionary's same-type sequence (empty
    // when every part carries its own type letter). Parts that are not text are left out.
    static QString entryText(QByteArrayView data, QByteArrayView sameTypeSequence);

private:
    explicit StarDictDictionary(Files files) : m_files(std::move(files)) {}
    // Scans the word lists and checks them against the description and the text.
    std::optional<DictionaryDefect> load();
    // Where an index record's entry lies in the text: offset and size.
    std::pair<quint64, quint64> place(qsizetype record) const;
    // The bytes of a word list, read or inflated into memory; `label` names it in defects.
    static OrDefect<QByteArray> listBytes(const QString& path, const QString& label);

    Files m_files;
    StarDictInfo m_info;
    std::unique_ptr<DictZipFile> m_text;
    QByteArray m_indexBytes;   // what m_index points into
    QByteArray m_synonymBytes; // what m_synonyms points into
    std::optional<StarDictIndex> m_index;
    std::optional<StarDictIndex> m_synonyms;
    bool m_loaded = false;
    std::optional<DictionaryDefect> m_defect; // found while loading; kept
};
