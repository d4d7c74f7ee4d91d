#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

// Builds a real StarDict dictionary on disk for tests and benchmarks: <stem>.ifo, the sorted
// <stem>.idx (or .idx.gz), <stem>.syn when there are synonyms, and <stem>.dict, or
// <stem>.dict.dz made by the dictzip tool itself.
//
//     StarDictWriter writer({.bookname = u"Test"_s, .dictzip = true});
//     writer.add(u"water"_s, u"n. 水"_s).addSynonym(u"H2O"_s, u"water"_s);
//     const auto written = writer.write(folder, u"test"_s); // written.ifoPath
class StarDictWriter {
public:
    struct Options {
        QString bookname = QStringLiteral("Test Dictionary");
        int offsetBits = 32;    // 32, or 64 (version 3.0.0)
        bool dictzip = false;   // .dict.dz, compressed by the dictzip tool
        bool gzipIndex = false; // .idx.gz
        // One type letter per part of every entry; empty: each part carries its own letter.
        QByteArray sameTypeSequence = "m";
    };
    // One part of an entry: a type letter ('m' text, 'h' HTML, 'W' sound …) and its bytes.
    struct Part {
        char type = 'm';
        QByteArray data;
    };
    struct Result {
        QString ifoPath;
        QString error; // empty on success
        explicit operator bool() const { return error.isEmpty(); }
    };

    StarDictWriter() = default;
    explicit StarDictWriter(Options options) : m_options(std::move(options)) {}

    // An entry of one part: of the sequence's single type, or 'm' when there is no sequence.
    StarDictWriter& add(const QString& headword, const QString& text);
    StarDictWriter& add(const QString& headword, QList<Part> parts);
    // A further word that leads to the first entry of `headword`.
    StarDictWriter& addSynonym(const QString& synonym, const QString& headword);

    Result write(const QString& folder, const QString& stem) const;

private:
    struct Entry {
        QByteArray headword;
        QList<Part> parts;
    };
    QByteArray encoded(const QList<Part>& parts) const;

    Options m_options;
    QList<Entry> m_entries;
    QList<std::pair<QByteArray, QByteArray>> m_synonyms;
};
