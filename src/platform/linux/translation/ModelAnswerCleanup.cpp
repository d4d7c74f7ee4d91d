#include "ModelAnswerCleanup.h"

#include "base/IcuRegex.h"
#include "base/UnicodeText.h"
#include "filter/QueryKind.h"
#include "filter/TextFilter.h"

#include <QStringList>
#include <array>
#include <utility>

using namespace Qt::StringLiterals;

namespace ModelAnswerCleanup {
namespace {

QString withoutThinking(QString text) {
    for (;;) {
        const qsizetype open = text.indexOf(u"<think>"_s, 0, Qt::CaseInsensitive);
        if (open < 0)
            break;
        const qsizetype close = text.indexOf(u"</think>"_s, open, Qt::CaseInsensitive);
        if (close < 0) {
            text.truncate(open); // it never stopped thinking: nothing after is an answer
            break;
        }
        text.remove(open, close + 8 - open);
    }
    // Chat templates that open the block themselves leave only its end in the answer.
    const qsizetype orphanClose = text.lastIndexOf(u"</think>"_s, -1, Qt::CaseInsensitive);
    if (orphanClose >= 0)
        text.remove(0, orphanClose + 8);
    return text;
}

QString withoutSpecialTokens(const QString& text) {
    static const IcuRegex token(u"<\\|[^|>]{1,40}\\|>|</s>");
    QString kept;
    qsizetype from = 0;
    for (const IcuRegex::Match& match : token.findAll(text)) {
        kept += QStringView(text).sliced(from, match.start - from);
        from = match.end;
    }
    kept += QStringView(text).sliced(from);
    return kept;
}

bool startsWithQuote(QStringView text) {
    return !text.isEmpty() && QStringView(u"\"'“‘«`「『").contains(text.front());
}

QString withoutSurroundingQuotes(QString text, const QString& source) {
    static constexpr std::array<std::pair<char16_t, char16_t>, 8> pairs{{
        {u'"', u'"'},
        {u'\'', u'\''},
        {u'“', u'”'},
        {u'‘', u'’'},
        {u'«', u'»'},
        {u'`', u'`'},
        {u'「', u'」'},
        {u'『', u'』'},
    }};
    // A quoted original deserves a quoted translation.
    if (startsWithQuote(UnicodeText::trimmed(source)))
        return text;
    for (bool stripped = true; stripped && text.size() >= 2;) {
        stripped = false;
        for (const auto& [open, close] : pairs) {
            if (text.front() != QChar(open) || text.back() != QChar(close))
                continue;
            const QStringView inner = QStringView(text).sliced(1, text.size() - 2);
            // “你好”和“再见” starts and ends with quotes that do not belong together.
            if (inner.contains(QChar(open)) || inner.contains(QChar(close)))
                continue;
            text = UnicodeText::trimmed(inner);
            stripped = true;
            break;
        }
    }
    return text;
}

// "**翻译：**", "Chinese translation:", "译文:" and the like before the translation.
const IcuRegex& labelPrefix() {
    static const IcuRegex pattern(
        u"^(?:\\*\\*)?\\s*(?:简体中文翻译|中文翻译|翻译结果|简体中文|翻译|译文|中文|答案|答|"
        "(?:simplified\\s+)?chinese(?:\\s+translation)?|translation|answer|output)"
        "\\s*(?:\\*\\*)?\\s*[:：]\\s*(?:\\*\\*)?\\s*",
        /*caseInsensitive=*/true);
    return pattern;
}

// Lines from which on the model explains instead of translating.
bool startsExplanation(const QString& line) {
    static const IcuRegex pattern(
        u"^(?:\\*\\*|\\(|（)?\\s*(?:注释|注意|注|说明|解释|备注|拼音|原文|notes?|explanation|"
        "pinyin|original|literal(?:ly)?)\\s*(?:\\*\\*)?\\s*[:：]|^-{3,}$",
        /*caseInsensitive=*/true);
    return pattern.matches(line);
}

bool hasEnglishWord(QStringView text) {
    static const IcuRegex word(u"[A-Za-z]{2,}");
    return word.matches(text);
}

// Without the blanks, stops and quotes around it.
QStringView core(QStringView text) {
    static const QString edges = u" \t.,;:!?。，；：！？\"'“”‘’"_s;
    qsizetype start = 0;
    qsizetype end = text.size();
    while (start < end && edges.contains(text[start]))
        ++start;
    while (end > start && edges.contains(text[end - 1]))
        --end;
    return text.sliced(start, end - start);
}

QString comparable(QStringView text) {
    return UnicodeText::lowercased(core(text));
}

} // namespace

std::optional<QString> translation(const QString& answer, const QString& source) {
    // Tokens first: one inside "<think>" would otherwise hide the tag until it is too late.
    QString text = withoutThinking(withoutSpecialTokens(answer));
    text.replace(u"\r\n"_s, u"\n"_s);
    text.replace(u'\r', u'\n');

    QStringList lines;
    for (const QString& raw : text.split(u'\n')) {
        const QString line = UnicodeText::trimmed(raw);
        if (line.isEmpty() || line.startsWith(u"```"_s))
            continue;
        lines.append(line);
    }

    const QString trimmedSource = UnicodeText::trimmed(source);
    const QStringList sourceLines = trimmedSource.split(u'\n', Qt::SkipEmptyParts);
    const bool sourceIsOneLine = sourceLines.size() <= 1;

    // A lead-in such as "Here is the translation:" — unless the original opens that way too.
    const bool sourceOpensWithColon =
        !sourceLines.isEmpty() && (UnicodeText::trimmed(sourceLines.first()).endsWith(u':') ||
                                   UnicodeText::trimmed(sourceLines.first()).endsWith(u'：'));
    if (lines.size() > 1 && !sourceOpensWithColon &&
        (lines.first().endsWith(u':') || lines.first().endsWith(u'：')))
        lines.removeFirst();

    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (!startsExplanation(lines[i]))
            continue;
        if (i == 0) {
            lines.removeFirst(); // "原文：…" ahead of the translation
            --i;
            continue;
        }
        lines.resize(i);
        break;
    }

    // "Translation: …" in the original would come back as "翻译：…" on purpose.
    if (!labelPrefix().find(trimmedSource)) {
        for (QString& line : lines) {
            while (const auto label = labelPrefix().find(line)) {
                if (label->end == 0)
                    break;
                line = UnicodeText::trimmed(QStringView(line).sliced(label->end));
            }
        }
        lines.removeAll(QString());
    }

    const bool anyChinese = std::any_of(lines.begin(), lines.end(), [](const QString& line) {
        return UnicodeText::containsHan(line);
    });
    if (anyChinese) {
        if (sourceIsOneLine) {
            // A one-line original translates to one line; further lines are commentary.
            const auto first = std::find_if(lines.begin(), lines.end(), [](const QString& line) {
                return UnicodeText::containsHan(line);
            });
            lines = QStringList{*first};
        } else {
            // Drop the original's own lines given back among the translated ones.
            QStringList comparableSource;
            for (const QString& line : sourceLines)
                comparableSource.append(comparable(line));
            lines.removeIf([&](const QString& line) {
                return !UnicodeText::containsHan(line) &&
                       comparableSource.contains(comparable(line));
            });
        }
    }

    const QString result = withoutSurroundingQuotes(lines.join(u'\n'), source);
    if (result.isEmpty())
        return std::nullopt;
    if (UnicodeText::containsHan(result) || !hasEnglishWord(trimmedSource))
        return result;
    if (TextFilter::kind(trimmedSource) == QueryKind::word &&
        comparable(result) == comparable(trimmedSource))
        return core(result).toString();
    return std::nullopt;
}

} // namespace ModelAnswerCleanup
