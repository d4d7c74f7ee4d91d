#include "dictionary/DictionaryEntry.h"

#include "base/IcuRegex.h"
#include "base/UnicodeText.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace {

constexpr std::array<char16_t, 9> kSuperscriptDigits = {u'¹', u'²', u'³', u'⁴', u'⁵',
                                                        u'⁶', u'⁷', u'⁸', u'⁹'};

// ① … ⑳ are consecutive code points; past twenty the copy text falls back to a dot.
constexpr char16_t kCircledOne = u'①';
constexpr int kCircledCount = 20;

QString senseMarker(qsizetype index) {
    if (index < kCircledCount)
        return QString(QChar(static_cast<char16_t>(kCircledOne + index)));
    return u"·"_s;
}

} // namespace

QStringList DictionaryEntry::allSenses() const {
    QStringList senses;
    for (const Section& section : sections)
        senses += section.senses;
    return senses;
}

int DictionaryEntry::senseCount() const {
    qsizetype count = 0;
    for (const Section& section : sections) {
        count += section.senses.size();
        for (const QStringList& under : section.subsenses)
            count += under.size();
    }
    return static_cast<int>(count);
}

QString DictionaryEntry::displayHeadword() const {
    if (!homographIndex || *homographIndex < 1)
        return headword;
    if (*homographIndex <= 9)
        return headword + QChar(kSuperscriptDigits[*homographIndex - 1]);
    return headword + u' ' + QString::number(*homographIndex);
}

QList<DictionaryEntry::Section> DictionaryEntry::visibleSections(int limit) const {
    QList<Section> kept;
    qsizetype budget = limit;
    for (const Section& section : sections) {
        if (budget < 1)
            break;
        if (section.senses.isEmpty())
            continue;
        const qsizetype taken = std::min(budget, section.senses.size());
        budget -= taken;

        const QStringList senses = section.senses.first(taken);
        // One subsense list per kept sense, so callers can index them side by side.
        QList<QStringList> subsenses;
        subsenses.reserve(taken);
        for (qsizetype i = 0; i < taken; ++i)
            subsenses.append(i < section.subsenses.size() ? section.subsenses[i] : QStringList());

        if (!kept.isEmpty() && kept.last().partOfSpeech && section.partOfSpeech &&
            *kept.last().partOfSpeech == *section.partOfSpeech) {
            kept.last().senses += senses;
            kept.last().subsenses += subsenses;
        } else {
            kept.append(Section{section.label, section.partOfSpeech, senses, subsenses});
        }
    }
    return kept;
}

QString DictionaryEntry::headlineText(const QString& headword) const {
    QStringList parts;
    if (!headword.isEmpty())
        parts.append(headword);
    if (phonetic && !phonetic->isEmpty())
        parts.append(*phonetic);
    return parts.join(u' ');
}

QString DictionaryEntry::copyText(const QString& headword) const {
    QStringList lines{headlineText(headword)};
    const QList<Section> visible = visibleSections(unlimited);
    if (visible.isEmpty()) {
        if (rawFallback && !rawFallback->isEmpty())
            lines.append(*rawFallback);
        return lines.join(u'\n');
    }
    for (const Section& section : visible) {
        if (section.partOfSpeech && !section.partOfSpeech->isEmpty())
            lines.append(*section.partOfSpeech);
        for (qsizetype i = 0; i < section.senses.size(); ++i) {
            lines.append(senseMarker(i) + u' ' + section.senses[i]);
            for (const QString& subsense : section.subsenses[i])
                lines.append(u"  · "_s + subsense);
        }
    }
    return lines.join(u'\n');
}

bool DictionaryEntry::holdsChineseGloss() const {
    // Angle-bracket labels such as 〈美〉 are Chinese but gloss nothing.
    static const IcuRegex label(u"〈[^〉]*〉");
    QString text = allSenses().join(QString());
    if (rawFallback)
        text += *rawFallback;
    QString stripped;
    qsizetype kept = 0;
    for (const IcuRegex::Match& match : label.findAll(text)) {
        stripped += QStringView(text).sliced(kept, match.start - kept);
        kept = match.end;
    }
    stripped += QStringView(text).sliced(kept);
    return UnicodeText::containsHan(stripped);
}

bool DictionaryEntry::hasEnglishHeadword() const {
    if (UnicodeText::containsHan(headword))
        return false;
    bool hasAsciiLetter = false;
    UnicodeText::forEachCharacter(headword, [&hasAsciiLetter](QStringView character) {
        hasAsciiLetter = UnicodeText::isAsciiLetter(character);
        return !hasAsciiLetter;
    });
    return hasAsciiLetter;
}
