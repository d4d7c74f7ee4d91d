#include "base/IcuRegex.h"

#include <unicode/regex.h>
#include <unicode/unistr.h>

namespace {

icu::UnicodeString aliasOf(QStringView text) {
    // Read-only alias: no copy of the searched text.
    return icu::UnicodeString(false, reinterpret_cast<const UChar*>(text.utf16()),
                              static_cast<int32_t>(text.size()));
}

std::vector<IcuRegex::Match> search(const icu::RegexPattern* pattern, QStringView text,
                                    qsizetype from, bool all) {
    std::vector<IcuRegex::Match> found;
    if (!pattern || from > text.size())
        return found;
    const icu::UnicodeString input = aliasOf(text);
    UErrorCode status = U_ZERO_ERROR;
    std::unique_ptr<icu::RegexMatcher> matcher(pattern->matcher(input, status));
    if (U_FAILURE(status))
        return found;
    bool hit = matcher->find(static_cast<int64_t>(from), status);
    while (U_SUCCESS(status) && hit) {
        IcuRegex::Match match;
        match.start = matcher->start(status);
        match.end = matcher->end(status);
        for (int32_t group = 1; group <= matcher->groupCount(); ++group)
            match.groups.emplace_back(matcher->start(group, status), matcher->end(group, status));
        found.push_back(std::move(match));
        if (!all)
            break;
        hit = matcher->find(); // advances past empty matches by itself
    }
    return found;
}

} // namespace

IcuRegex::IcuRegex(QStringView pattern, bool caseInsensitive) {
    UErrorCode status = U_ZERO_ERROR;
    UParseError parseError;
    std::unique_ptr<icu::RegexPattern> compiled(icu::RegexPattern::compile(
        aliasOf(pattern), caseInsensitive ? UREGEX_CASE_INSENSITIVE : 0, parseError, status));
    if (U_SUCCESS(status))
        m_pattern = std::move(compiled);
}

IcuRegex::~IcuRegex() = default;

std::optional<IcuRegex::Match> IcuRegex::find(QStringView text, qsizetype from) const {
    auto found = search(m_pattern.get(), text, from, false);
    if (found.empty())
        return std::nullopt;
    return std::move(found.front());
}

std::vector<IcuRegex::Match> IcuRegex::findAll(QStringView text) const {
    return search(m_pattern.get(), text, 0, true);
}
