#pragma once

#include <QList>
#include <QString>
#include <QStringList>

// One stretch of a glossed text: a word or phrase the dictionary knows, with its Chinese, or
// what lies between such stretches (spaces, punctuation, numbers, names, unknown words), left
// as it stands.
struct GlossPiece {
    QString text;       // exactly as it stands in the text
    QString headword;   // the dictionary's form ("give up" for "gave up"); empty when not glossed
    QStringList senses; // Chinese, the most common first; empty when not glossed
    bool isPhrase = false;

    bool isGlossed() const { return !senses.isEmpty(); }
    // What to call it: the text's own spelling when that is the headword ("I", not "i"),
    // else the headword ("give up" for "gave up").
    QString name() const;
    bool operator==(const GlossPiece&) const = default;
};

// A word-by-word reading aid for text no translator could take: every known phrase and word
// with its Chinese, in the order of the text. It is never passed off as a translation.
struct Gloss {
    QList<GlossPiece> pieces; // together they are the whole text, in order

    qsizetype glossedCount() const;
    // One line for the panel, the command line, the notebook and the log: each glossed piece's
    // headword and Chinese ("give up 放弃；look forward to 期望"). A text of one piece shows
    // up to three senses of it; articles, and headwords already named, are left out.
    QString line() const;

    bool operator==(const Gloss&) const = default;
};
