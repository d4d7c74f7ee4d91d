#pragma once

#include <QString>
#include <QStringView>
#include <memory>
#include <optional>
#include <unicode/uversion.h>
#include <vector>

U_NAMESPACE_BEGIN
class RegexPattern;
U_NAMESPACE_END

// A compiled ICU regular expression. The pattern syntax is ICU's; positions are UTF-16
// offsets into the searched text. A pattern that fails to compile matches nothing.
class IcuRegex {
public:
    struct Match {
        qsizetype start = 0;
        qsizetype end = 0;
        std::vector<std::pair<qsizetype, qsizetype>> groups; // [start, end) of groups 1…n
    };

    explicit IcuRegex(QStringView pattern, bool caseInsensitive = false);
    ~IcuRegex();
    IcuRegex(const IcuRegex&) = delete;
    IcuRegex& operator=(const IcuRegex&) = delete;

    bool isValid() const { return m_pattern != nullptr; }
    // First match at or after `from` (unanchored search; "^" still means the text's start).
    std::optional<Match> find(QStringView text, qsizetype from = 0) const;
    bool matches(QStringView text) const { return find(text).has_value(); }
    std::vector<Match> findAll(QStringView text) const;

private:
    std::unique_ptr<icu::RegexPattern> m_pattern;
};
