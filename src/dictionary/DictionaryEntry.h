#pragma once

#include <QList>
#include <QString>
#include <QStringList>
#include <limits>
#include <optional>

// One dictionary's answer for one headword: the record every dictionary source produces.
struct DictionaryEntry {
    struct Section {
        std::optional<QString> label;        // a heading that is not a part of speech
        std::optional<QString> partOfSpeech; // shown in Chinese, e.g. 名词
        QStringList senses;
        QList<QStringList> subsenses; // subsenses[i] belongs under senses[i]; may be shorter

        bool operator==(const Section&) const = default;
    };

    static constexpr int unlimited = std::numeric_limits<int>::max();

    QString headword;
    std::optional<int> homographIndex;
    std::optional<QString> phonetic; // as shown, slashes included
    QList<Section> sections;
    std::optional<QString> rawFallback; // shown as it stands when no section could be made

    bool operator==(const DictionaryEntry&) const = default;

    QStringList allSenses() const;
    // Chinese among the senses (or the raw text) outside 〈…〉 usage labels such as 〈美〉.
    bool holdsChineseGloss() const;
    // A headword of the English-to-Chinese direction: no Han character, an ASCII letter.
    bool hasEnglishHeadword() const;
    int senseCount() const;
    QString displayHeadword() const;
    QList<Section> visibleSections(int limit = unlimited) const;
    QString headlineText(const QString& headword) const;
    QString copyText(const QString& headword) const;
};
