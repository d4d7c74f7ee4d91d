// How much of real English the gloss covers, against the full word database:
//   gloss_coverage sentences <file>   share of word tokens that receive Chinese, over the
//                                     file's sentences (one per line)
//   gloss_coverage phrases            share of the database's phrases found when written with
//                                     one of their words inflected ("gave up" for "give up")

#include "dictionary/BundledDictionary.h"
#include "dictionary/PhraseBook.h"
#include "lookup/Glosser.h"
#include "settings/AppPaths.h"

#include <QCoreApplication>
#include <QFile>
#include <QRegularExpression>
#include <QStringList>
#include <cstdio>
#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace {

qsizetype wordCount(const QString& text) {
    static const QRegularExpression word(uR"([A-Za-z]+(?:['’-][A-Za-z]+)*)"_s);
    qsizetype count = 0;
    for (auto it = word.globalMatch(text); it.hasNext(); it.next())
        ++count;
    return count;
}

int sentences(const Glosser& glosser, const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
        return 1;
    }
    qsizetype lines = 0, words = 0, glossedWords = 0, phraseWords = 0;
    for (const QString& line : QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts)) {
        ++lines;
        words += wordCount(line);
        for (const GlossPiece& piece : glosser.gloss(line).pieces) {
            if (!piece.isGlossed())
                continue;
            glossedWords += wordCount(piece.text);
            if (piece.isPhrase)
                phraseWords += wordCount(piece.text);
        }
    }
    std::printf(
        "sentences: %lld\nword tokens: %lld\nglossed: %lld (%.2f %%)\n"
        "of them inside phrases: %lld (%.2f %% of all tokens)\n",
        static_cast<long long>(lines), static_cast<long long>(words),
        static_cast<long long>(glossedWords), 100.0 * glossedWords / std::max<qsizetype>(1, words),
        static_cast<long long>(phraseWords), 100.0 * phraseWords / std::max<qsizetype>(1, words));
    return 0;
}

struct Inflectable {
    QString key;
    QString variant; // the phrase with one word replaced by one of its forms
    bool subjectOnly = false;
};

// Every phrase with a word that has an inflected form, written with the first such word
// inflected (its first form in key order).
QList<Inflectable> inflectedPhrases() {
    QList<Inflectable> found;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(AppPaths::wordDatabase().toUtf8().constData(), &db, SQLITE_OPEN_READONLY,
                        nullptr) != SQLITE_OK)
        return found;
    QHash<QString, QString> firstForm; // lemma → a form
    sqlite3_stmt* statement = nullptr;
    sqlite3_prepare_v2(db, "SELECT form, lemma FROM forms ORDER BY form", -1, &statement, nullptr);
    while (sqlite3_step(statement) == SQLITE_ROW) {
        const QString form =
            QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
        const QString lemma =
            QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 1)));
        if (!firstForm.contains(lemma) && !form.contains(u' '))
            firstForm.insert(lemma, form);
    }
    sqlite3_finalize(statement);
    sqlite3_prepare_v2(db, "SELECT phrase, translation FROM phrases", -1, &statement, nullptr);
    while (sqlite3_step(statement) == SQLITE_ROW) {
        const QString key =
            QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
        const QString translation =
            QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 1)));
        QStringList words = key.split(u' ');
        for (QString& word : words) {
            if (const auto form = firstForm.constFind(word); form != firstForm.constEnd()) {
                word = *form;
                found.append({key, words.join(u' '), translation.trimmed().startsWith(u'[')});
                break;
            }
        }
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return found;
}

int phrases(const Glosser& glosser) {
    const QList<Inflectable> all = inflectedPhrases();
    qsizetype found = 0, general = 0, generalFound = 0;
    for (const Inflectable& phrase : all) {
        const Gloss gloss = glosser.gloss(phrase.variant);
        const bool whole = gloss.pieces.size() == 1 && gloss.pieces.front().isPhrase &&
                           gloss.pieces.front().headword == phrase.key;
        found += whole ? 1 : 0;
        if (!phrase.subjectOnly) {
            ++general;
            generalFound += whole ? 1 : 0;
        }
    }
    std::printf("phrases with an inflectable word: %lld\nfound inflected: %lld (%.2f %%)\n"
                "general phrases (no subject tag first): %lld, found %lld (%.2f %%)\n",
                static_cast<long long>(all.size()), static_cast<long long>(found),
                100.0 * found / std::max<qsizetype>(1, all.size()), static_cast<long long>(general),
                static_cast<long long>(generalFound),
                100.0 * generalFound / std::max<qsizetype>(1, general));
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    const QCoreApplication application(argc, argv); // the database is found beside the program
    const BundledDictionary words(AppPaths::wordDatabase());
    const PhraseBook phraseBook(AppPaths::wordDatabase());
    if (!words.isAvailable() || !phraseBook.isAvailable()) {
        std::fprintf(stderr,
                     "needs the word database with its phrases (QUILLET_DICTIONARY_PATH)\n");
        return 1;
    }
    const Glosser glosser(words, phraseBook);
    const QString mode = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString();
    if (mode == u"sentences"_s && argc == 3)
        return sentences(glosser, QString::fromLocal8Bit(argv[2]));
    if (mode == u"phrases"_s)
        return phrases(glosser);
    std::fprintf(stderr, "usage: %s sentences <file> | phrases\n", argv[0]);
    return 2;
}
